// From a configuration text to tokens and index, in one walk.
#include <algorithm>
#include <cstring>
#include <utility>

#include "system/config.h"

namespace kiv::system {

namespace {

constexpr bool is_blank(char c) {
  return c == ' ' || c == '\t';
}
constexpr bool is_line_end(char c) {
  return c == '\r' || c == '\n';
}

}  // namespace

class ConfigParser {
 public:
  ConfigParser(Config& config, const char* text, std::size_t length)
      : config_(config), at_(text), end_(text + length) {}

  bool run() {
    if (begins_with_mark() && !take(Kind::byte_order_mark, at_ + 3)) return false;
    while (at_ != end_) {
      if (!next()) return false;
    }
    return true;
  }

 private:
  bool begins_with_mark() const {
    return end_ - at_ >= 3 && std::memcmp(at_, "\xEF\xBB\xBF", 3) == 0;
  }

  bool next() {
    switch (*at_) {
      case ' ':
      case '\t':
        return take(Kind::blank, skip_blanks(at_));
      case '\r':
      case '\n':
        return take(Kind::line_end, std::find_if_not(at_, end_, is_line_end));
      case ';':
      case '#':
        return take(Kind::comment, line_end());
      case '/':
        // A single slash is no comment, but its line is kept like one.
        return end_ - at_ > 1 && at_[1] == '*' ? block_comment() : take(Kind::comment, line_end());
      case '=':
        return take(Kind::comment, line_end());
      case '[':
        return header();
      default:
        return key();
    }
  }

  Token* block_comment() {
    constexpr char kClosing[] = {'*', '/'};
    const char* closing = std::search(at_ + 2, end_, kClosing, kClosing + 2);
    const bool open = closing == end_;
    return take(Kind::comment, open ? end_ : closing + 2, open);
  }

  bool header() {
    ++at_;
    const char* closing = std::find(at_, end_, ']');
    const bool open = closing == end_;
    Token* header = take(Kind::header, closing, open);
    if (!open) ++at_;
    return header != nullptr && config_.index_header(header, group_);
  }

  bool key() {
    const char* name_end =
        std::find_if(at_, end_, [](char c) { return is_blank(c) || is_line_end(c) || c == '='; });
    const char* equals = skip_blanks(name_end);
    // What is no key is kept with its line.
    if (equals == end_ || *equals != '=') return take(Kind::comment, line_end());
    Token* key = take(Kind::key, name_end);
    if (key == nullptr || (equals != name_end && !take(Kind::blank, equals))) return false;
    if (!take(Kind::equals, equals + 1)) return false;
    // deliberate: blanks after "=" belong to the value; what is set and written keeps its look.
    Token* value = take(Kind::value, line_end());
    return value != nullptr && (group_ == nullptr || config_.index_key(*group_, key, value));
  }

  Token* take(Kind kind, const char* end, bool open = false) {
    const char* text = std::exchange(at_, end);
    return config_.tokens_.append(kind, text, static_cast<std::size_t>(end - text), open);
  }

  const char* skip_blanks(const char* from) const { return std::find_if_not(from, end_, is_blank); }
  const char* line_end() const { return std::find_if(at_, end_, is_line_end); }

  Config& config_;
  Group* group_ = nullptr;
  const char* at_;
  const char* const end_;
};

bool Config::load(base::Owned<char> source, std::size_t length) {
  source_ = std::move(source);
  return ConfigParser(*this, source_.get(), length).run();
}

}  // namespace kiv::system
