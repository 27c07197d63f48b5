#include "base/format.h"

#include <cstdio>
#include <cstring>

namespace kiv::base {

void format_within(char* out, std::size_t room, const char* format,
                   std::va_list arguments) noexcept {
  std::va_list again;
  va_copy(again, arguments);
  // Older runtimes answer -1 to truncation too, and do not terminate.
  if (std::vsnprintf(out, room + 1, format, arguments) < 0) {
    // How much was written is not told: start over from zeroes, as the buffer holds an older text.
    std::memset(out, 0, room + 1);
    (void)std::vsnprintf(out, room + 1, format, again);  // NOLINT(*-valist.Uninitialized): va_copy
  }
  out[room] = '\0';
  va_end(again);
}

}  // namespace kiv::base
