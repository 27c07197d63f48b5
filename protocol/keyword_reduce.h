// What of a text is compared with keywords: all but blanks, line ends and marks.
#pragma once

#include <cstdint>

namespace kiv::protocol {

// Copies what is compared of the first `most` characters and terminates it; returns its length.
// `to` has room for `most` characters and a zero.
std::int32_t reduce_text(char* to, const char* text, std::int32_t most);

}  // namespace kiv::protocol
