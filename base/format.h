// printf into a bounded buffer, the same under every C runtime.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace kiv::base {

// Formats at most `room` characters and terminates them (so `room` + 1 bytes are written at most).
// What does not fit is cut off. A failing conversion leaves what the runtime had written so far.
void format_within(char* out, std::size_t room, const char* format,
                   std::va_list arguments) noexcept;

}  // namespace kiv::base
