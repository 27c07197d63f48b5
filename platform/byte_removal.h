// Copying text without some of its characters, by vector instructions where the processor has them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kiv::platform {

// Some of the characters below 128.
struct AsciiSet {
  constexpr explicit AsciiSet(std::string_view members) {
    kept.fill(1);
    for (int i = 0; i < 8; ++i) high[i] = static_cast<std::uint8_t>(1 << i);
    for (const char c : members) {
      kept[static_cast<unsigned char>(c)] = 0;
      low[c & 15] = static_cast<std::uint8_t>(low[c & 15] | 1 << (c >> 4));
    }
  }

  std::array<std::uint8_t, 256> kept;  // by character: 0 for a member, otherwise 1
  // A member has a bit in common in the entries for its low and its high four bits.
  alignas(16) std::uint8_t low[16] = {};
  alignas(16) std::uint8_t high[16] = {};
};

// Copies [text, end) without the members of the set and returns the end of the copy. There is room
// for as much at `to` as there is text; what follows the copy is overwritten.
char* copy_without(const AsciiSet& removed, char* to, const char* text, const char* end);

}  // namespace kiv::platform
