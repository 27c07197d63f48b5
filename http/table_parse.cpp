// Tables from text: the head of a message, and an urlencoded form.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

#include "http/char_class.h"
#include "http/table.h"

namespace kiv::http {
namespace {

// Bytes that may be read after the terminator of a head's copy.
constexpr std::size_t kReadAhead = sizeof(std::uint64_t) - 1;

// Moves past a run of characters and returns its length.
std::size_t skip(char*& at, CharClass members) {
  const char* const start = at;
  while (is(*at, members)) ++at;
  return static_cast<std::size_t>(at - start);
}

void skip_spaces(char*& at) {
  while (*at == ' ') ++at;
}

// The first byte of a class of which no byte is a letter, a digit or a mark, such as the terminator
// and the line ends. Eight bytes are processed together.
char* find(char* at, CharClass members) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  for (;;) {
    std::uint64_t bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
    // The top bit of each byte up to the space; right for the lowest such byte.
    const std::uint64_t low = (bytes - kOnes * (' ' + 1)) & ~bytes & (kOnes << 7);
    if (low == 0) {
      at += sizeof bytes;
      continue;
    }
    at += std::countr_zero(low) / 8;
    if (is(*at, members)) return at;
    ++at;
  }
}

// Reads a head in a copy of it, which becomes the block of the table's strings. A string is
// terminated when the next one has been read: until then the byte after it is still needed.
class HeaderParser {
 public:
  // `text` is the head as it came, for the messages.
  HeaderParser(const char* text, std::size_t length) : text_(text), length_(length) {}

  OwnedTable parse() {
    OwnedTable table = make_table();
    OwnedText copy = OwnedText::allocate(length_ + 1 + kReadAhead);
    if (table == nullptr || !copy) return nullptr;
    std::memcpy(copy.get(), text_, length_);
    std::memset(copy.get() + length_, '\0', 1 + kReadAhead);
    at_ = copy.get();
    end_of_last_ = copy.get() + length_;
    table->head = std::move(copy);
    skip_spaces(at_);
    skip(at_, kLineEnd);
    if (!start_line(*table) || !fields(*table)) return nullptr;
    *end_of_last_ = '\0';
    return table;
  }

 private:
  // The string from `from` to here.
  void take_text(TableText& to, char* from) {
    *end_of_last_ = '\0';
    end_of_last_ = at_;
    to.text = from;
  }

  // Prints what is wrong, with the whole head.
  bool refuse(const char* format) const {
    std::printf(format, static_cast<int>(length_), text_);
    return false;
  }

  bool start_line(kiv_http_table& table) {
    char* const method = at_;
    if (std::strncmp(at_, "HTTP/1.", 7) != 0 && skip(at_, kLetter) > 0 && *at_ == ' ') {
      take_text(table.method, method);
      return request(table);
    }
    at_ = method;
    return response(table);
  }

  bool request(kiv_http_table& table) {
    skip_spaces(at_);
    char* const target = at_;
    at_ = find(at_, kTargetEnd);
    if (at_ == target || *at_ != ' ') {
      return refuse("error: parse 'request' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n");
    }
    take_text(table.request, target);
    skip_spaces(at_);
    return version(table) ||
           refuse("error: parse 'version' error in kiv_http_table_ParseHeaderStr() 1!\n%.*s\n");
  }

  bool response(kiv_http_table& table) {
    if (!version(table)) {
      return refuse("error: parse 'version' error in kiv_http_table_ParseHeaderStr() 2!\n%.*s\n");
    }
    char* const line = at_;
    if (skip(at_, kStatusLine) == 0 || !is(*at_, kLineEnd)) {
      return refuse("error: parse 'status' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n");
    }
    take_text(table.status, line);
    table.status_value = leading_int32(line);
    return true;
  }

  bool version(kiv_http_table& table) {
    if (std::strncmp(at_, "HTTP/1.", 7) != 0 || (at_[7] != '0' && at_[7] != '1') ||
        (at_[8] != ' ' && !is(at_[8], kLineEnd))) {
      return false;
    }
    char* const start = at_;
    at_ += 8;
    take_text(table.version, start);
    skip_spaces(at_);
    return true;
  }

  bool fields(kiv_http_table& table) {
    for (;;) {
      if (skip(at_, kLineEnd) == 0) {
        return refuse("error: parse 'newline' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n");
      }
      if (*at_ == '\0') return true;
      if (!field(table)) return false;
    }
  }

  bool field(kiv_http_table& table) {
    Field* const added = table.fields.add();
    if (added == nullptr) return false;
    char* const name = at_;
    if (skip(at_, kFieldName) == 0 || (*at_ != ':' && *at_ != ' ')) {
      return refuse("error: parse 'field' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n");
    }
    take_text(added->name, name);
    skip_spaces(at_);
    if (*at_ != ':') {
      return refuse("error: parse ':' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n");
    }
    ++at_;
    skip_spaces(at_);
    char* const value = at_;
    at_ = find(at_, kValueEnd);
    // deliberate: a field without a value refuses the whole head; peers rely on the refusal.
    if (at_ == value || *at_ == '\0') {
      return refuse("error: parse 'content' error in kiv_http_table_ParseHeaderStr()!\n%.*s\n");
    }
    take_text(added->value, value);
    return true;
  }

  const char* text_;
  std::size_t length_;
  char* at_ = nullptr;
  char* end_of_last_ = nullptr;
};

// One "name=value" and the "&" after it.
bool parse_form_entry(kiv_http_table& table, const char*& at) {
  const char* const name = at;
  while (is(*at, kFormName)) ++at;
  const auto name_length = static_cast<std::size_t>(at - name);
  if (name_length == 0 || *at != '=') {
    std::printf("error: parse 'name' error in kiv_http_table_ParseFormStr()!\n");
    return false;
  }
  const char* const value = ++at;
  at += std::strcspn(at, "&");
  Form form;
  form.escaped = copy_text(value, static_cast<std::size_t>(at - value));
  if (!form.escaped) {
    std::printf("error: parse 'value' error in kiv_http_table_ParseFormStr()!\n");
    return false;
  }
  // From the copy: a length of 0 would mean "up to the terminator" and take in what follows.
  form.raw = OwnedText(zu_url_unescape_malloc(form.escaped.get(), 0));
  if (!form.raw) {
    std::printf("error: parse 'value_raw' error in kiv_http_table_ParseFormStr()!\n");
    return false;
  }
  if (*at == '&') ++at;
  form.name = copy_text(name, name_length);
  return table.append_form(std::move(form));
}

OwnedTable parse_form(const char* text) {
  OwnedTable table = make_table();
  if (table == nullptr) return nullptr;
  while (*text == ' ') ++text;
  while (*text != '\0') {
    if (!parse_form_entry(*table, text)) return nullptr;
  }
  return table;
}

}  // namespace

OwnedTable parse_header(const char* text, const char* end) noexcept {
  return HeaderParser(text, static_cast<std::size_t>(end - text)).parse();
}

}  // namespace kiv::http

using namespace kiv::http;

kiv_http_table* KIV_CALL kiv_http_table_ParseHeaderStr(const char* text) KIV_NOEXCEPT {
  const std::size_t length = text == nullptr ? INT32_MAX : std::strlen(text);
  if (length >= INT32_MAX) return nullptr;
  return parse_header(text, text + length).release();
}

kiv_http_table* KIV_CALL kiv_http_table_ParseFormStr(const char* text) KIV_NOEXCEPT {
  if (text == nullptr || std::strlen(text) >= INT32_MAX) return nullptr;
  return parse_form(text).release();
}
