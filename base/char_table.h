// Tables of character classes: which of up to 32 classes each byte belongs to, one bit for each.
// They are built at compile time and, unlike those of the C library, the same under every locale.
#pragma once

#include <array>
#include <initializer_list>
#include <string_view>

namespace kiv::base {

struct CharSet {
  std::string_view members;
  unsigned classes;
};

template <typename Bits>
constexpr std::array<Bits, 256> make_char_table(std::initializer_list<CharSet> sets) {
  std::array<Bits, 256> table{};
  for (const CharSet& set : sets) {
    for (const char c : set.members) {
      auto& entry = table[static_cast<unsigned char>(c)];
      entry = static_cast<Bits>(entry | set.classes);
    }
  }
  return table;
}

inline constexpr std::string_view kLettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

}  // namespace kiv::base
