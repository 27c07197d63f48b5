// Base64 after RFC 4648.
#pragma once

#include <cstdint>

namespace kiv::base {

// The length of the encoded string, without its terminator.
constexpr std::int64_t base64_length(std::int32_t length) noexcept {
  return (static_cast<std::int64_t>(length) + 2) / 3 * 4;
}

// Writes the string of at least one byte and a terminator.
void base64_encode(char* out, const void* bytes, std::int32_t length) noexcept;

// Returns the number of bytes written. Foreign characters are skipped; what does not fit is cut
// off.
std::int32_t base64_decode(void* out, const char* text, std::int32_t capacity) noexcept;

}  // namespace kiv::base
