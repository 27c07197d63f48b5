// Character classes and case folding of ASCII. The C library's follow the locale of the host
// program, and a protocol's letters do not.
#pragma once

#include <cstddef>

namespace kiv::base {

constexpr bool is_upper(char c) {
  return c >= 'A' && c <= 'Z';
}
constexpr bool is_lower(char c) {
  return c >= 'a' && c <= 'z';
}
constexpr bool is_alpha(char c) {
  return is_upper(c) || is_lower(c);
}
constexpr bool is_digit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool is_alnum(char c) {
  return is_alpha(c) || is_digit(c);
}
// Blank, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool is_space(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool is_line_end(char c) {
  return c == '\r' || c == '\n';
}
constexpr bool is_slash(char c) {
  return c == '/' || c == '\\';
}

constexpr char to_lower(char c) {
  return is_upper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr char to_upper(char c) {
  return is_lower(c) ? static_cast<char>(c - ('a' - 'A')) : c;
}

// 0 to 15, or -1 for anything but a hexadecimal digit.
constexpr int hex_value(char c) {
  if (is_digit(c)) return c - '0';
  const char lower = to_lower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}
constexpr bool is_hex_digit(char c) {
  return hex_value(c) >= 0;
}

// Are the two ranges of `length` bytes equal but for case?
constexpr bool equal_ignoring_case(const char* a, const char* b, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    if (a[i] != b[i] && to_lower(a[i]) != to_lower(b[i])) return false;
  }
  return true;
}

}  // namespace kiv::base
