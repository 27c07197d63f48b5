// Login names and passwords, typed at the terminal.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "base/lock.h"
#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "platform/process.h"
#include "platform/terminal.h"

using namespace kiv;

namespace {

// Systems cut what is typed in one line off, at 4 KiB and later; nothing near that is let through.
constexpr std::int32_t kLongest = 1024;

const char* reason(platform::Typed result) {
  switch (result) {
    case platform::Typed::too_long:
      return "the text is too long";
    case platform::Typed::ended:
      return "the input has ended";
    case platform::Typed::interrupted:
      return "the input was interrupted";
    default:
      return "there is no terminal";
  }
}

int read(const char* prompt, bool echo, char* buffer, std::int32_t size, const char* function) {
  if (prompt == nullptr || buffer == nullptr || size < 1) return 0;
  const auto room = static_cast<std::size_t>(std::min(size, kLongest));
  static base::StaticLock lock;
  const base::Guard guard(lock);
  const platform::Typed result = platform::terminal_read_line(prompt, echo, buffer, room);
  if (result == platform::Typed::line) return 1;
  platform::clear_memory(buffer, room);
  std::printf("error: %s in %s()!\n", reason(result), function);
  return 0;
}

}  // namespace

int KIV_CALL zu_TTY_ReadName(const char* prompt, char* buffer, int32_t size) KIV_NOEXCEPT {
  return read(prompt, true, buffer, size, "zu_TTY_ReadName");
}

int KIV_CALL zu_TTY_ReadPassword(const char* prompt, char* buffer, int32_t size) KIV_NOEXCEPT {
  return read(prompt, false, buffer, size, "zu_TTY_ReadPassword");
}
