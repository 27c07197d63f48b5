// Escaping of form values, and back.
#include <climits>
#include <cstring>

#include "base/text.h"
#include "http/char_class.h"
#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace kiv::http {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// What each byte becomes; 0 for the bytes that become "%" and two digits.
constexpr std::array<char, 256> make_escapes() {
  std::array<char, 256> escapes{};
  for (std::size_t i = 0; i < escapes.size(); ++i) {
    if ((kCharClasses[i] & kEscapePlain) != 0) escapes[i] = static_cast<char>(i);
  }
  escapes[' '] = '+';
  return escapes;
}
constexpr std::array<char, 256> kEscapes = make_escapes();

// Length of an argument pair where 0 means "up to the terminator"; -1 when unusable.
std::int64_t text_length(const char* text, std::int32_t length) noexcept {
  if (text == nullptr || length < 0) return -1;
  if (length > 0) return length;
  const std::size_t whole = std::strlen(text);
  return whole < INT_MAX ? static_cast<std::int64_t>(whole) : -1;
}

std::int64_t escaped_length(const char* text, std::int64_t length) noexcept {
  std::int64_t escaped = length;
  for (std::int64_t i = 0; i < length; ++i) {
    escaped += kEscapes[static_cast<unsigned char>(text[i])] == 0 ? 2 : 0;
  }
  return escaped;
}

char* escape(const char* text, std::int64_t length, char* out) noexcept {
  for (const char* end = text + length; text != end; ++text) {
    const auto byte = static_cast<unsigned char>(*text);
    if (kEscapes[byte] != 0) {
      *out++ = kEscapes[byte];
    } else {
      out[0] = '%';
      out[1] = kHexDigits[byte >> 4];
      out[2] = kHexDigits[byte & 15];
      out += 3;
    }
  }
  return out;
}

char* unescape(const char* text, std::int64_t length, char* out) noexcept {
  const char* const end = text + length;
  while (text != end) {
    const char c = *text++;
    const int high = c == '%' && text != end ? base::hex_value(*text) : -1;
    if (high < 0) {
      *out++ = c == '+' ? ' ' : c;
      continue;
    }
    // deliberate: the second character goes even when it is no digit ("%4g" is the byte 4);
    // applications' stored texts were written and read this way.
    const int low = end - text > 1 ? base::hex_value(text[1]) : -1;
    *out++ = static_cast<char>(low < 0 ? high : high * 16 + low);
    text += end - text > 1 ? 2 : 1;
  }
  return out;
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

char* KIV_CALL zu_url_escape_malloc(const char* text, int32_t length) KIV_NOEXCEPT {
  const std::int64_t n = text_length(text, length);
  if (n < 0) return nullptr;
  const std::int64_t escaped = escaped_length(text, n);
  if (escaped >= INT_MAX) return nullptr;
  auto* out = static_cast<char*>(_zu_malloc(static_cast<int>(escaped + 1)));
  if (out != nullptr) *escape(text, n, out) = '\0';
  return out;
}

char* KIV_CALL zu_url_unescape_malloc(const char* text, int32_t length) KIV_NOEXCEPT {
  const std::int64_t n = text_length(text, length);
  if (n < 0 || n >= INT_MAX) return nullptr;
  auto* out = static_cast<char*>(_zu_malloc(static_cast<int>(n + 1)));
  if (out != nullptr) *unescape(text, n, out) = '\0';
  return out;
}

void KIV_CALL zu_url_escape_free(char* text) KIV_NOEXCEPT {
  _zu_free(text);
}

void KIV_CALL zu_url_unescape_free(char* text) KIV_NOEXCEPT {
  _zu_free(text);
}
