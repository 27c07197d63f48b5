#include "protocol/keyword_reduce.h"

#include <cstring>

#include "platform/byte_removal.h"

namespace kiv::protocol {

// deliberate: the limit counts the characters read, not those kept, for keywords and texts.
std::int32_t reduce_text(char* to, const char* text, std::int32_t most) {
  static constexpr platform::AsciiSet kRemoved(" \r\n-=_/|*&~+,.;\"':@[]{}%^$!()\\<>?`");
  const char* const end = text + ::strnlen(text, static_cast<std::size_t>(most));
  char* const copy_end = platform::copy_without(kRemoved, to, text, end);
  *copy_end = 0;
  return static_cast<std::int32_t>(copy_end - to);
}

}  // namespace kiv::protocol
