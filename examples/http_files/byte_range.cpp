#include "byte_range.h"

#include <algorithm>

#include "text.h"

namespace http_files {
namespace {

// Digits, with numbers too large to hold taken as the largest: they lie after the end either way.
bool parse_position(std::string_view digits, std::uint64_t& value) {
  if (digits.find_first_not_of("0123456789") != std::string_view::npos) return false;
  value = parse_number(digits).value_or(UINT64_MAX);
  return true;
}

}  // namespace

ByteRange parse_range(std::string_view field, std::uint64_t size) {
  constexpr std::string_view kUnit = "bytes=";
  const ByteRange whole{ByteRange::Kind::whole, 0, size};
  const ByteRange unsatisfiable{ByteRange::Kind::unsatisfiable, 0, 0};
  if (!equal_ignoring_case(field.substr(0, kUnit.size()), kUnit)) return whole;
  field.remove_prefix(kUnit.size());
  const auto dash = field.find('-');
  if (dash == std::string_view::npos) return whole;
  const std::string_view from = field.substr(0, dash);
  const std::string_view to = field.substr(dash + 1);

  std::uint64_t first = 0;
  std::uint64_t last = 0;
  if (!parse_position(from, first) || !parse_position(to, last)) return whole;
  if (from.empty() && to.empty()) return whole;
  if (from.empty()) {  // "-n": the last n bytes
    const std::uint64_t length = std::min(last, size);
    if (length == 0) return unsatisfiable;
    return {ByteRange::Kind::part, size - length, length};
  }
  if (to.empty()) last = UINT64_MAX;
  if (last < first) return whole;
  if (first >= size) return unsatisfiable;
  return {ByteRange::Kind::part, first, std::min(last, size - 1) - first + 1};
}

}  // namespace http_files
