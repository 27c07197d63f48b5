// Classes of ASCII characters, the same whatever the host program's locale.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/char_table.h"

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

inline constexpr auto kCharClasses = base::make_char_table<std::uint8_t>({
    {base::kLettersAndDigits, kFieldName | kStatusLine | kFormName | kEscapePlain},
    {base::kLettersAndDigits.substr(0, 52), kLetter},
    {"-", kFieldName},
    {" ._-/%=&", kStatusLine},
    {"-._", kFormName},
    {"\r\n", kLineEnd | kTargetEnd | kValueEnd},
    {std::string_view("\0", 1), kTargetEnd | kValueEnd},
    {" ", kTargetEnd},
    {"*", kEscapePlain},
});

constexpr bool is(char c, CharClass wanted) {
  return (kCharClasses[static_cast<unsigned char>(c)] & wanted) != 0;
}

}  // namespace kiv::http
