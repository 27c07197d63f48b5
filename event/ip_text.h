// The dotted text of an IPv4 address.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>

namespace kiv::event {

inline constexpr std::size_t kIpText = 16;  // the longest one with its terminator

struct IpText {
  char text[kIpText + 1];  // the compiler cannot tell that the last dot always fits

  // `address` is in network order.
  explicit IpText(std::uint32_t address) {
    char* end = text;
    for (const unsigned char part : std::bit_cast<std::array<unsigned char, 4>>(address)) {
      end = std::to_chars(end, text + kIpText, part).ptr;
      *end++ = '.';
    }
    end[-1] = '\0';
  }
};

}  // namespace kiv::event
