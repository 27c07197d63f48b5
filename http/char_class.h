// Classes of ASCII characters, the same whatever the host program's locale.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kiv::http {

enum CharClass : std::uint8_t {
  kLetter = 1 << 0,
  kFieldName = 1 << 1,   // name of a header field
  kStatusLine = 1 << 2,  // status line after the version
  kFormName = 1 << 3,
  kLineEnd = 1 << 4,
  kEscapePlain = 1 << 5,  // stands for itself in an escaped text
  kTargetEnd = 1 << 6,    // ends a request target, and so does the terminator
  kValueEnd = 1 << 7,     // ends the value of a header field, likewise
};

constexpr std::array<std::uint8_t, 256> make_char_classes() {
  std::array<std::uint8_t, 256> classes{};
  auto add = [&classes](std::string_view members, int bits) {
    for (char c : members) {
      auto& entry = classes[static_cast<unsigned char>(c)];
      entry = static_cast<std::uint8_t>(entry | bits);
    }
  };
  const int everywhere = kFieldName | kStatusLine | kFormName | kEscapePlain;
  add("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", everywhere | kLetter);
  add("0123456789", everywhere);
  add("-", kFieldName);
  add(" ._-/%=&", kStatusLine);
  add("-._", kFormName);
  add("\r\n", kLineEnd | kTargetEnd | kValueEnd);
  add(std::string_view("\0", 1), kTargetEnd | kValueEnd);
  add(" ", kTargetEnd);
  add("*", kEscapePlain);
  return classes;
}

inline constexpr std::array<std::uint8_t, 256> kCharClasses = make_char_classes();

constexpr bool is(char c, CharClass wanted) {
  return (kCharClasses[static_cast<unsigned char>(c)] & wanted) != 0;
}

}  // namespace kiv::http
