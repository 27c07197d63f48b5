// Tables from text: the head of a message, and an urlencoded form.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "http/char_class.h"
#include "http/table.h"

namespace kiv::http {
namespace {

// A text being read; it holds no zero byte.
class Reader {
 public:
  Reader(const char* text, const char* end) : at(text), end_(end), newline_(text) {}

  const char* at;

  bool ended() const { return at == end_; }
  const char* end() const { return end_; }
  std::size_t left() const { return static_cast<std::size_t>(end_ - at); }

  // The byte `ahead` of here, 0 from the end on.
  char peek(std::size_t ahead = 0) const { return ahead < left() ? at[ahead] : '\0'; }
  bool at_line_end() const { return is(peek(), kLineEnd); }

  void skip_blanks() {
    while (peek() == ' ') ++at;
  }
  // Moves past a run of characters and gives its length.
  std::size_t run(CharClass members) {
    const char* const start = at;
    while (at != end_ && is(*at, members)) ++at;
    return static_cast<std::size_t>(at - start);
  }
  // Moves to the next CR or LF, or to the end. The next LF is remembered: where lines end in CR
  // alone, looking for it from each of them would read the whole text again.
  void to_line_end() {
    if (newline_ < at) newline_ = find('\n', end_);
    at = find('\r', newline_);
  }
  const char* find(char wanted, const char* limit) const {
    const void* found = std::memchr(at, wanted, static_cast<std::size_t>(limit - at));
    return found == nullptr ? limit : static_cast<const char*>(found);
  }

 private:
  const char* end_;
  const char* newline_;
};

class HeaderParser {
 public:
  HeaderParser(const char* text, const char* end) : text_(text), in_(text, end) {}

  OwnedTable parse() {
    OwnedTable table(kiv_http_table_make());
    if (table == nullptr) return nullptr;
    in_.skip_blanks();
    in_.run(kLineEnd);
    const bool done = start_line(*table) && fields(*table);
    return done ? std::move(table) : nullptr;
  }

 private:
  // The text of a message, all of it.
  int shown() const { return static_cast<int>(in_.end() - text_); }

  bool start_line(kiv_http_table& table) {
    if (in_.left() >= 7 && std::memcmp(in_.at, "HTTP/1.", 7) == 0) return response(table);
    const char* const method = in_.at;
    const std::size_t length = in_.run(kLetter);
    if (length > 0 && in_.peek() == ' ') {
      return replace_text(table.method, method, length) && request(table);
    }
    in_.at = method;
    return response(table);
  }

  bool request(kiv_http_table& table) {
    in_.skip_blanks();
    const char* const target = in_.at;
    while (!in_.ended() && *in_.at != ' ' && !in_.at_line_end()) ++in_.at;
    if (in_.at == target || in_.peek() != ' ') {
      std::printf("error: parse 'request' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n",
                  shown(), text_);
      return false;
    }
    if (!replace_text(table.request, target, static_cast<std::size_t>(in_.at - target))) {
      return false;
    }
    in_.skip_blanks();
    if (!at_version()) {
      std::printf("error: parse 'version' error in kiv_http_table_ParseHeaderStr() 1!\n%.*s\n",
                  shown(), text_);
      return false;
    }
    return take_version(table);
  }

  bool response(kiv_http_table& table) {
    if (!at_version()) {
      std::printf("error: parse 'version' error in kiv_http_table_ParseHeaderStr() 2!\n%.*s\n",
                  shown(), text_);
      return false;
    }
    if (!take_version(table)) return false;
    const char* const line = in_.at;
    const std::size_t length = in_.run(kStatusLine);
    if (length == 0 || !in_.at_line_end()) {
      std::printf("error: parse 'status' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n",
                  shown(), text_);
      return false;
    }
    return set_status(table, line, length);
  }

  bool at_version() const {
    if (in_.left() < 9 || std::memcmp(in_.at, "HTTP/1.", 7) != 0) return false;
    const char minor = in_.at[7], next = in_.at[8];
    return (minor == '0' || minor == '1') && (next == ' ' || is(next, kLineEnd));
  }

  bool take_version(kiv_http_table& table) {
    if (!replace_text(table.version, in_.at, 8)) return false;
    in_.at += 8;
    in_.skip_blanks();
    return true;
  }

  bool fields(kiv_http_table& table) {
    for (;;) {
      if (in_.run(kLineEnd) == 0) {
        std::printf("error: parse 'newline' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n",
                    shown(), text_);
        return false;
      }
      if (in_.ended()) return true;
      if (!field(table)) return false;
    }
  }

  bool field(kiv_http_table& table) {
    const char* const name = in_.at;
    const std::size_t name_length = in_.run(kFieldName);
    if (name_length == 0 || (in_.peek() != ':' && in_.peek() != ' ')) {
      std::printf("error: parse 'field' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n", shown(),
                  text_);
      return false;
    }
    in_.skip_blanks();
    if (in_.peek() != ':') {
      std::printf("error: parse ':' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n", shown(),
                  text_);
      return false;
    }
    ++in_.at;
    in_.skip_blanks();
    const char* const value = in_.at;
    in_.to_line_end();
    // deliberate: a field without a value refuses the whole head; peers rely on the refusal.
    if (in_.at == value || in_.ended()) {
      std::printf("error: parse 'content' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n",
                  shown(), text_);
      return false;
    }
    return append_field(table, name, name_length, value, static_cast<std::size_t>(in_.at - value));
  }

  const char* text_;
  Reader in_;
};

// One "name=value" and the "&" behind it.
bool parse_form_entry(kiv_http_table& table, Reader& in) {
  const char* const name = in.at;
  const std::size_t name_length = in.run(kFormName);
  if (name_length == 0 || in.peek() != '=') {
    std::printf("error: parse 'name' error in kiv_http_table_ParseFormStr()!\n");
    return false;
  }
  ++in.at;
  const char* const value = in.at;
  in.at = in.find('&', in.end());
  OwnedText escaped = copy_text(value, static_cast<std::size_t>(in.at - value));
  if (!escaped) {
    std::printf("error: parse 'value' error in kiv_http_table_ParseFormStr()!\n");
    return false;
  }
  // From the copy: a length of 0 would mean "up to the terminator" and take in what follows.
  OwnedText raw(zu_url_unescape_malloc(escaped.get(), 0));
  if (!raw) {
    std::printf("error: parse 'value_raw' error in kiv_http_table_ParseFormStr()!\n");
    return false;
  }
  if (!in.ended()) ++in.at;
  return append_form(table, name, name_length, std::move(escaped), std::move(raw));
}

}  // namespace

OwnedTable parse_header(const char* text, const char* end) noexcept {
  const void* const zero = std::memchr(text, '\0', static_cast<std::size_t>(end - text));
  return HeaderParser(text, zero == nullptr ? end : static_cast<const char*>(zero)).parse();
}

}  // namespace kiv::http

using namespace kiv::http;

kiv_http_table* KIV_CALL kiv_http_table_ParseHeaderStr(const char* text) KIV_NOEXCEPT {
  const std::size_t length = text == nullptr ? INT32_MAX : std::strlen(text);
  if (length >= INT32_MAX) return nullptr;
  return HeaderParser(text, text + length).parse().release();
}

kiv_http_table* KIV_CALL kiv_http_table_ParseFormStr(const char* text) KIV_NOEXCEPT {
  const std::size_t length = text == nullptr ? INT32_MAX : std::strlen(text);
  if (length >= INT32_MAX) return nullptr;
  OwnedTable table(kiv_http_table_make());
  if (table == nullptr) return nullptr;
  Reader in(text, text + length);
  in.skip_blanks();
  while (!in.ended()) {
    if (!parse_form_entry(*table, in)) return nullptr;
  }
  return table.release();
}
