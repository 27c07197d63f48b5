// A line typed at the terminal of the process, whatever its standard input is. Texts are UTF-8.
#pragma once

#include <cstddef>

namespace kiv::platform {

enum class Typed {
  line,
  too_long,
  ended,        // the user closed the input
  interrupted,  // by a signal or Ctrl-C that the program has survived
  no_terminal
};

// Shows the prompt and reads up to the line end, which is omitted; of a line that does not fit,
// all is read and nothing kept. Without `echo`, nothing shows, and the terminal is as it was
// afterwards, also when a signal ends or stops the process. One thread at a time.
Typed terminal_read_line(const char* prompt, bool echo, char* out, std::size_t room) noexcept;

}  // namespace kiv::platform
