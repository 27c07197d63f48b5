// Escaping of URI components.
#include "http/uri_chars.h"

namespace kiv::http {
namespace {

std::size_t escaped_length(std::string_view text, unsigned set) noexcept {
  // What 32 bits cannot count is more than memory holds.
  if (text.size() > SIZE_MAX / 3) return SIZE_MAX / 2;
  std::size_t length = 0;
  for (char c : text) length += is_in(c, set) ? 1 : 3;
  return length;
}

char* escape(std::string_view text, unsigned set, char* out) noexcept {
  constexpr char digits[] = "0123456789ABCDEF";
  for (char c : text) {
    if (is_in(c, set)) {
      *out++ = c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    *out++ = '%';
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 15];
  }
  return out;
}

}  // namespace

void put_escaped(TextBuffer& out, std::string_view text, unsigned set) noexcept {
  if (char* const room = out.extend(escaped_length(text, set))) escape(text, set, room);
}

OwnedText escaped(std::string_view text, unsigned set) noexcept {
  auto out = OwnedText::allocate(escaped_length(text, set) + 1);
  if (out) *escape(text, set, out.get()) = '\0';
  return out;
}

}  // namespace kiv::http
