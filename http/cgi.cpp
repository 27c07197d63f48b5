// Fields of an urlencoded form, and typed look-ups in them.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "base/ascii.h"
#include "http/text.h"
#include "kiv_base/http.h"

namespace kiv::http {
namespace {

// One block: the field, then its name and its value with their terminators.
struct CgiField {
  char* name;
  char* value;
  std::int32_t value_length;
  CgiField* next;
};

}  // namespace
}  // namespace kiv::http

struct zu_cgi {
  kiv::http::CgiField* fields;
};

namespace kiv::http {
namespace {

using OwnedCgi = std::unique_ptr<zu_cgi, FreedBy<zu_cgi_free>>;

int digit(std::string_view text, std::size_t at) noexcept {
  return at < text.size() ? std::max(base::hex_value(text[at]), 0) : 0;
}

// Decodes into `out`, which is never longer than the text; returns the end.
// deliberate: a "%" always takes two characters, as far as there are any, and what is not a digit,
// or not there, counts as 0; forms that were stored are read as they always were.
char* decode(std::string_view text, char* out) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '%') {
      *out++ = static_cast<char>(digit(text, i + 1) * 16 + digit(text, i + 2));
      i += 2;
    } else {
      *out++ = c == '+' ? ' ' : c;
    }
  }
  *out = '\0';
  return out;
}

CgiField* make_field(std::string_view name, std::string_view value) noexcept {
  auto block = OwnedText::allocate(sizeof(CgiField) + name.size() + value.size() + 2);
  if (!block) return nullptr;
  char* const name_text = block.get() + sizeof(CgiField);
  char* const value_text = decode(name, name_text) + 1;
  const auto length = static_cast<std::int32_t>(decode(value, value_text) - value_text);
  return new (block.release()) CgiField{name_text, value_text, length, nullptr};
}

// Appends the fields of `text` after `*end`; false if out of memory.
// deliberate: a name goes up to the next "=", an "&" before that is part of it, and what has none
// is not a field; look-ups by name have always missed both.
bool parse(std::string_view text, CgiField** end) noexcept {
  for (;;) {
    const std::size_t equals = text.find('=');
    if (equals == text.npos) return true;
    const std::string_view name = text.substr(0, equals);
    text.remove_prefix(equals + 1);
    const std::string_view value = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(value.size() + 1, text.size()));
    *end = make_field(name, value);
    if (*end == nullptr) return false;
    end = &(*end)->next;
  }
}

const CgiField* find(const zu_cgi* cgi, const char* name) noexcept {
  if (cgi == nullptr || name == nullptr) return nullptr;
  const CgiField* field = cgi->fields;
  while (field != nullptr && std::strcmp(field->name, name) != 0) field = field->next;
  return field;
}

// Copies with uniform line ends into [out, end), terminator included. A run of carriage returns and
// line feeds is as many lines as it has of the one that is more frequent.
void copy_lines(std::string_view text, char* out, const char* end) noexcept {
  --end;
  const char* at = text.data();
  const char* const text_end = at + text.size();
  while (at != text_end && out != end) {
    if (!base::is_line_end(*at)) {
      *out++ = *at++;
      continue;
    }
    const char* const run_end = std::find_if_not(at, text_end, base::is_line_end);
    const auto feeds = std::count(at, run_end, '\n');
    out = std::fill_n(out, std::min(std::max(feeds, run_end - at - feeds), end - out), '\n');
    at = run_end;
  }
  *out = '\0';
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

zu_cgi* KIV_CALL zu_cgi_malloc(const char* text, int32_t length) KIV_NOEXCEPT {
  if (text == nullptr || length < 0) return nullptr;
  OwnedCgi cgi(kiv::base::make<zu_cgi>().release());
  if (!cgi || !parse({text, static_cast<std::size_t>(length)}, &cgi->fields)) return nullptr;
  return cgi.release();
}

void KIV_CALL zu_cgi_free(zu_cgi* cgi) KIV_NOEXCEPT {
  if (cgi == nullptr) return;
  for (CgiField* field = cgi->fields; field != nullptr;) {
    CgiField* const next = field->next;
    kiv::base::deallocate(field);
    field = next;
  }
  kiv::base::destroy(cgi);
}

int KIV_CALL zu_cgi_FormString(const zu_cgi* cgi, const char* name, char* out,
                               int32_t size) KIV_NOEXCEPT {
  const CgiField* const field = find(cgi, name);
  if (out != nullptr && size > 0) {
    const std::string_view value =
        field == nullptr
            ? std::string_view("")
            : std::string_view(field->value, static_cast<std::size_t>(field->value_length));
    copy_lines(value, out, out + size);
  }
  return field != nullptr ? 1 : 0;
}

int KIV_CALL zu_cgi_FormInteger(const zu_cgi* cgi, const char* name, int32_t* out,
                                int32_t default_value) KIV_NOEXCEPT {
  if (out == nullptr) return 0;
  *out = default_value;
  const CgiField* const field = find(cgi, name);
  if (field == nullptr) return 0;
  if (field->value_length == 0) return 1;
  const char* const number = field->value + std::strspn(field->value, " \n\r\t");
  if (!kiv::base::is_digit(*number) && *number != '-' && *number != '+') return 0;
  *out = leading_int32(number);
  return 1;
}
