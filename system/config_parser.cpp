// From a configuration text to its pieces and index, in one walk.
#include <algorithm>
#include <cstring>
#include <utility>

#include "base/ascii.h"
#include "system/config.h"

namespace kiv::system {

namespace {

constexpr bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

// Names are terminated texts in the index; one that is empty or holds a zero byte is not indexed.
bool can_be_indexed(const Piece& piece) {
  return piece.length > 0 && std::memchr(piece.pair.key, '\0', piece.length) == nullptr;
}

}  // namespace

class ConfigParser {
 public:
  ConfigParser(Config& config, char* text, std::size_t length)
      : config_(config), at_(text), end_(text + length) {}

  bool parse() {
    if (!make_room()) return false;
    if (begins_with_mark() && !take_piece(Kind::byte_order_mark, at_ + 3)) return false;
    while (at_ != end_) {
      if (!next()) return false;
    }
    return true;
  }

 private:
  // For a piece and a key in each line.
  bool make_room() {
    std::size_t lines = 1;
    for (const char* c = at_; c != end_; ++c) lines += c[0] == '\n' && !base::is_line_end(c[1]);
    config_.text_.pool().expect(lines);
    return config_.groups_.prepare() && config_.keys_.prepare(lines);
  }

  bool begins_with_mark() const {
    return end_ - at_ >= 3 && std::memcmp(at_, "\xEF\xBB\xBF", 3) == 0;
  }

  bool next() {
    switch (*at_) {
      case ' ':
      case '\t':
        return take_piece(Kind::blank, skip_blanks(at_));
      case '\r':
      case '\n':
        return line_ends();
      case ';':
      case '#':
        return take_piece(Kind::comment, line_end());
      case '/':
        // A single slash is not a comment, but its line is kept like one.
        if (end_ - at_ > 1 && at_[1] == '*') return block_comment();
        return take_piece(Kind::comment, line_end());
      case '=':
        return take_piece(Kind::comment, line_end());
      case '[':
        return header();
      default:
        return key();
    }
  }

  bool line_ends() {
    char* const text = std::exchange(at_, std::find_if_not(at_, end_, base::is_line_end));
    return config_.text_.append_line_end(text, static_cast<std::size_t>(at_ - text));
  }

  bool block_comment() {
    constexpr char kClosing[] = {'*', '/'};
    char* const closing = std::search(at_ + 2, end_, kClosing, kClosing + 2);
    const bool open = closing == end_;
    Piece* const comment = take_piece(Kind::comment, open ? end_ : closing + 2);
    if (comment != nullptr) comment->open = open;
    return comment != nullptr;
  }

  bool header() {
    ++at_;
    char* const closing = std::find(at_, end_, ']');
    Piece* const header = take_piece(Kind::header, closing);
    if (header == nullptr) return false;
    header->open = closing == end_;
    if (!header->open) ++at_;
    group_ = nullptr;
    if (!can_be_indexed(*header)) return true;
    *closing = '\0';
    return index_header(*header);
  }

  bool key() {
    char* const name_end = std::find_if(
        at_, end_, [](char c) { return is_blank(c) || base::is_line_end(c) || c == '='; });
    char* const equals = skip_blanks(name_end);
    // A line without a key is kept with its line.
    if (equals == end_ || *equals != '=') return take_piece(Kind::comment, line_end());
    Piece* const key = take_piece(Kind::key, name_end);
    if (key == nullptr) return false;
    key->separator = std::exchange(*name_end, '\0');
    // deliberate: blanks after "=" belong to the value; what is set and written keeps its look.
    key->pair.value = at_ = equals + 1;
    char* const value_end = at_ = line_end();
    key->value_length = static_cast<std::uint32_t>(value_end - key->pair.value);
    if (at_ != end_ && !line_ends()) return false;
    *value_end = '\0';
    if (group_ != nullptr && can_be_indexed(*key)) index_key(*key);
    return true;
  }

  // Finds or adds the group of a header. False if out of memory.
  bool index_header(Piece& header) {
    Group** const known = config_.find_group(header.pair.key, header.length);
    group_ = known != nullptr ? *known : config_.group_pool_.take_record();
    if (group_ == nullptr) return false;
    header.group = group_;
    if (known != nullptr) {
      group_->last_header->chain = &header;
    } else {
      group_->text = header.pair.key;
      group_->length = header.length;
      group_->first_header = &header;
      config_.groups_.insert(group_);
    }
    group_->last_header = &header;
    return true;
  }

  void index_key(Piece& key) {
    if (Piece** const known = config_.find_key(*group_, key.pair.key, key.length)) {
      (*known)->shadowed = true;
    }
    key.group = group_;
    config_.keys_.insert(&key);
  }

  Piece* take_piece(Kind kind, char* end) {
    const char* const text = std::exchange(at_, end);
    return config_.text_.append(kind, text, static_cast<std::size_t>(end - text));
  }

  char* skip_blanks(char* from) const { return std::find_if_not(from, end_, is_blank); }
  char* line_end() const { return std::find_if(at_, end_, base::is_line_end); }

  Config& config_;
  Group* group_ = nullptr;
  char* at_;
  char* const end_;
};

bool Config::load(base::RawStorage<char> source, std::size_t length) {
  source_ = std::move(source);
  return ConfigParser(*this, source_.get(), length).parse();
}

}  // namespace kiv::system
