// Which bytes stand where in a URI. Bytes from 0x80 on stand nowhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

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

constexpr std::array<std::uint16_t, 256> make_uri_sets() {
  std::array<std::uint16_t, 256> sets{};
  auto add = [&sets](std::string_view members, unsigned bits) {
    for (char c : members) {
      auto& entry = sets[static_cast<unsigned char>(c)];
      entry = static_cast<std::uint16_t>(entry | bits);
    }
  };
  const unsigned unreserved = kUriOpaqueStart | kUriUser | kUriRegistry | kUriFirstSegment |
                              kUriPath | kUriQuery | kPlainInQuery | kPlainInPath |
                              kPlainInRelative | kPlainInUrl;
  add("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
      unreserved | kUriScheme | kUriHost);
  add("-_.!~*'()", unreserved);
  add("+-.", kUriScheme);
  add("-.", kUriHost);
  add(";?:@&=+$,", kUriOpaqueStart);
  add(";:&=+$,", kUriUser);
  add("$,;:@&=+", kUriRegistry);
  add(";@&=+$,", kUriFirstSegment);
  add(":@&=+$,;/\\", kUriPath);
  add(";/?:@&=+$,[]\\", kUriQuery);
  add("{}|\\^[]`", kUriUnwise);
  add(";/?:@&=+$,[]", kPlainInQuery);
  add("/;@&=+$,", kPlainInPath);
  add("/;&=+$,", kPlainInRelative);
  add(":/?_.#&;=", kPlainInUrl);
  return sets;
}

inline constexpr std::array<std::uint16_t, 256> kUriSets = make_uri_sets();

// `set` may be several of UriSet.
constexpr bool is_in(char c, unsigned set) {
  return (kUriSets[static_cast<unsigned char>(c)] & set) != 0;
}

// The text with every byte outside the set as "%" and two upper-case hexadecimal digits. The second
// form returns null if out of memory.
void put_escaped(TextBuffer& out, std::string_view text, unsigned set) noexcept;
OwnedText escaped(std::string_view text, unsigned set) noexcept;

}  // namespace kiv::http
