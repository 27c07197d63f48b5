// The MD5 message digest, RFC 1321.
#pragma once

#include <cstddef>

namespace kiv::base {

// Writes the digest as 32 hexadecimal digits and a terminator.
void md5_hex(char* out33, const char* text, std::size_t length) noexcept;

}  // namespace kiv::base
