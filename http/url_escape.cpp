// Escaping of form values, and back.
#include <climits>
#include <cstring>

#include "base/ascii.h"
#include "http/char_class.h"
#include "http/text.h"
#include "kiv_base/http.h"

namespace kiv::http {
namespace {

// What a byte becomes: "+", itself, or "%" and two digits.
struct Escape {
  char text[3];
  unsigned char length;
};
constexpr std::array<Escape, 256> make_escapes() {
  constexpr char digits[] = "0123456789ABCDEF";
  std::array<Escape, 256> escapes{};
  for (std::size_t i = 0; i < escapes.size(); ++i) {
    // deliberate: "-", "_" and "." are none; stored texts are compared with their escaped form.
    const bool plain = (kCharClasses[i] & kEscapePlain) != 0;
    escapes[i] = plain ? Escape{{static_cast<char>(i)}, 1}
                       : Escape{{'%', digits[i >> 4], digits[i & 15]}, 3};
  }
  escapes[' '] = Escape{{'+'}, 1};
  return escapes;
}
constexpr std::array<Escape, 256> kEscapes = make_escapes();

// Length of an argument pair where 0 means "up to the terminator"; -1 when unusable.
std::int64_t text_length(const char* text, std::int32_t length) noexcept {
  if (text == nullptr || length < 0) return -1;
  if (length > 0) return length;
  const std::size_t whole = std::strlen(text);
  return whole < INT_MAX ? static_cast<std::int64_t>(whole) : -1;
}

// Writes a whole entry for each byte and moves on by its length: no branch to guess. So the output
// has one byte more than three for each, and one for the terminator.
char* escape(const char* text, std::int64_t length, char* out) noexcept {
  for (const char* const end = text + length; text != end; ++text) {
    const Escape& entry = kEscapes[static_cast<unsigned char>(*text)];
    std::memcpy(out, &entry, sizeof entry);
    out += entry.length;
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
  const std::int64_t size = n * 3 + 2;
  if (n < 0 || size > INT_MAX) return nullptr;
  auto out = OwnedText::allocate(static_cast<std::size_t>(size));
  if (out) *escape(text, n, out.get()) = '\0';
  return out.release();
}

char* KIV_CALL zu_url_unescape_malloc(const char* text, int32_t length) KIV_NOEXCEPT {
  const std::int64_t n = text_length(text, length);
  if (n < 0 || n >= INT_MAX) return nullptr;
  auto out = OwnedText::allocate(static_cast<std::size_t>(n + 1));
  if (out) *unescape(text, n, out.get()) = '\0';
  return out.release();
}

void KIV_CALL zu_url_escape_free(char* text) KIV_NOEXCEPT {
  kiv::base::deallocate(text);
}

void KIV_CALL zu_url_unescape_free(char* text) KIV_NOEXCEPT {
  kiv::base::deallocate(text);
}
