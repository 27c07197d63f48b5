// The console trace: one file of the process, written by zu_console_printf.
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "base/format.h"
#include "base/lock.h"
#include "base/owned.h"
#include "kiv_base/base.h"

using namespace kiv;

namespace {

constexpr std::size_t kMaxMessage = 20480;

// deliberate: the trace goes to this file whatever name zu_console_Setup is given, and each opening
// empties it; hosts look for the trace of the latest run there.
constexpr char kFileName[] = "zu_console.txt";

struct Console {
  base::StaticLock lock;
  std::atomic<bool> enabled{true};
  base::RawStorage<char> buffer;
  std::FILE* file = nullptr;

  // The steps below are for the holder of the lock.
  int close() {
    std::FILE* open = file;
    file = nullptr;
    return open != nullptr ? std::fclose(open) : 0;
  }

  bool make_buffer() {
    if (!buffer) buffer = base::RawStorage<char>::allocate(kMaxMessage + 1);
    return static_cast<bool>(buffer);
  }

  void write(const char* format, std::va_list arguments) {
    if (file == nullptr) file = std::fopen(kFileName, "wb");
    if (file == nullptr) return;
    base::format_within(buffer.get(), kMaxMessage, format, arguments);
    std::fputs(buffer.get(), file);
    // deliberate: a flush for every message, as in the logs; a crash must not take the last ones.
    std::fflush(file);
  }
};

Console& console() {
  static Console instance;
  return instance;
}

}  // namespace

int KIV_CALL zu_console_Setup(const char* name) KIV_NOEXCEPT {
  (void)name;
  Console& trace = console();
  base::Guard guard(trace.lock);
  trace.close();
  trace.enabled = true;
  return guard.unlock();
}

int KIV_CALL zu_console_Free(void) KIV_NOEXCEPT {
  Console& trace = console();
  base::Guard guard(trace.lock);
  trace.enabled = false;
  trace.close();
  return guard.unlock();
}

int KIV_CALL zu_console_Shutdown(void) KIV_NOEXCEPT {
  Console& trace = console();
  base::Guard guard(trace.lock);
  trace.enabled = false;
  trace.buffer.reset();
  return trace.close();
}

int KIV_CALL zu_console_printf(const char* format, ...) KIV_NOEXCEPT {
  Console& trace = console();
  if (format == nullptr || !trace.enabled) return 0;
  base::Guard guard(trace.lock);
  if (!trace.enabled || !trace.make_buffer()) return 0;
  std::va_list arguments;
  va_start(arguments, format);
  trace.write(format, arguments);
  va_end(arguments);
  return guard.unlock();
}
