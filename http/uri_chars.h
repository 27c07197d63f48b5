// Which bytes stand where in a URI. Bytes from 0x80 on stand nowhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/char_table.h"
#include "http/text.h"

namespace kiv::http {

enum UriSet : std::uint16_t {
  // What a component is read from, escapes aside. Where a slash belongs, so does a backslash.
  kUriScheme = 1 << 0,
  kUriOpaqueStart = 1 << 1,
  kUriUser = 1 << 2,  // also what stays as it is when one is written
  kUriHost = 1 << 3,
  kUriRegistry = 1 << 4,
  kUriFirstSegment = 1 << 5,  // of a relative path: no colon, or it were a scheme
  kUriPath = 1 << 6,
  kUriQuery = 1 << 7,
  kUriUnwise = 1 << 8,
  // What stays as it is when a text is escaped.
  kPlainInQuery = 1 << 9,
  kPlainInPath = 1 << 10,
  kPlainInRelative = 1 << 11,
  kPlainInUrl = 1 << 12,
};

inline constexpr unsigned kUriUnreserved = kUriOpaqueStart | kUriUser | kUriRegistry |
                                           kUriFirstSegment | kUriPath | kUriQuery | kPlainInQuery |
                                           kPlainInPath | kPlainInRelative | kPlainInUrl;

inline constexpr auto kUriSets = base::make_char_table<std::uint16_t>({
    {base::kLettersAndDigits, kUriUnreserved | kUriScheme | kUriHost},
    {"-_.!~*'()", kUriUnreserved},
    {"+-.", kUriScheme},
    {"-.", kUriHost},
    {";?:@&=+$,", kUriOpaqueStart},
    {";:&=+$,", kUriUser},
    {"$,;:@&=+", kUriRegistry},
    {";@&=+$,", kUriFirstSegment},
    {":@&=+$,;/\\", kUriPath},
    {";/?:@&=+$,[]\\", kUriQuery},
    {"{}|\\^[]`", kUriUnwise},
    {";/?:@&=+$,[]", kPlainInQuery},
    {"/;@&=+$,", kPlainInPath},
    {"/;&=+$,", kPlainInRelative},
    {":/?_.#&;=", kPlainInUrl},
});

// `set` may be several of UriSet.
constexpr bool is_in(char c, unsigned set) {
  return (kUriSets[static_cast<unsigned char>(c)] & set) != 0;
}

// The text with every byte outside the set as "%" and two upper-case hexadecimal digits. The second
// form returns null if out of memory.
void put_escaped(TextBuffer& out, std::string_view text, unsigned set) noexcept;
OwnedText escaped(std::string_view text, unsigned set) noexcept;

}  // namespace kiv::http
