// Escaping of URI components.
#include "http/uri_chars.h"

#include <cstring>

namespace kiv::http {
namespace {

std::size_t escaped_length(std::string_view text, unsigned set) noexcept {
  // What 32 bits cannot count is more than memory holds.
  if (text.size() > SIZE_MAX / 3) return SIZE_MAX / 2;
  std::size_t length = 0;
  for (char c : text) length += is_in(c, set) ? 1 : 3;
  return length;
}

// Are these eight bytes all in the set?
bool are_in(const char* eight, unsigned set) noexcept {
  for (int i = 0; i < 8; ++i) set &= kUriSets[static_cast<unsigned char>(eight[i])];
  return set != 0;
}

// Most bytes stand for themselves, and go in eights.
char* escape(std::string_view text, unsigned set, char* out) noexcept {
  constexpr char digits[] = "0123456789ABCDEF";
  const char* at = text.data();
  for (const char* const end = at + text.size(); at != end;) {
    for (; end - at >= 8 && are_in(at, set); at += 8, out += 8) std::memcpy(out, at, 8);
    while (at != end && is_in(*at, set)) *out++ = *at++;
    for (; at != end && !is_in(*at, set); ++at) {
      const auto byte = static_cast<unsigned char>(*at);
      *out++ = '%';
      *out++ = digits[byte >> 4];
      *out++ = digits[byte & 15];
    }
  }
  return out;
}

}  // namespace

// In pieces, so that the room for what might be escaped is small beside the text.
void put_escaped(TextBuffer& out, std::string_view text, unsigned set) noexcept {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, 256);
    char* const room = out.extend(3 * piece.size());
    if (room == nullptr) return;
    const char* const end = escape(piece, set, room);
    out.drop_last(static_cast<std::size_t>(room + 3 * piece.size() - end));
    text.remove_prefix(piece.size());
  }
}

OwnedText escaped(std::string_view text, unsigned set) noexcept {
  auto out = OwnedText::allocate(escaped_length(text, set) + 1);
  if (out) *escape(text, set, out.get()) = '\0';
  return out;
}

}  // namespace kiv::http
