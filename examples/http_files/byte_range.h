// The "Range" field of a request (RFC 7233, 2.1).
#pragma once

#include <cstdint>
#include <string_view>

namespace http_files {

struct ByteRange {
  enum class Kind { whole, part, unsatisfiable };
  Kind kind = Kind::whole;
  std::uint64_t first = 0;
  std::uint64_t length = 0;
};

// The bytes that a range field asks of a file of this size. A field that cannot be read, another
// unit or several ranges at once ask for the whole file, as the RFC allows.
ByteRange parse_range(std::string_view field, std::uint64_t size);

}  // namespace http_files
