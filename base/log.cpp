// Log files.
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/format.h"
#include "base/layout.h"
#include "base/lock.h"
#include "base/str.h"
#include "kiv_base/base.h"
#include "platform/clock.h"

using namespace kiv;

namespace {

constexpr std::size_t kMaxMessage = 102400;

KIV_LAYOUT(zu_log, 300, file, 264);
KIV_LAYOUT(zu_log, 300, buffer, 296);

std::FILE* file_of(zu_log* log) {
  return static_cast<std::FILE*>(log->file);
}

// Writes "2009-03-07 09:05:01 " and returns its length. A time that the calendar cannot express
// appears as zeroes.
std::size_t write_time_stamp(char* out, std::size_t room) {
  std::tm now{};
  if (!platform::local_time(platform::wall_us() / 1000000, &now)) now = std::tm{};
  const int length =
      std::snprintf(out, room, "%d-%2.2d-%2.2d %2.2d:%2.2d:%2.2d ", now.tm_year + 1900,
                    now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

// One message, behind a time stamp when there is a severity.
int write_message(zu_log* log, const char* severity, const char* format, std::va_list arguments) {
  if (log == nullptr || format == nullptr) return 0;
  base::Guard guard(log->lock);
  if (!guard.held()) return 0;

  char* text = log->buffer;
  std::size_t used = 0;
  if (severity != nullptr) {
    used = write_time_stamp(text, kMaxMessage);
    const std::size_t length = std::strlen(severity);
    std::memcpy(text + used, severity, length);
    used += length;
  }
  base::format_within(text + used, kMaxMessage - used, format, arguments);
  if (log->file != nullptr) {
    std::fputs(text, file_of(log));
    // deliberate: a flush for every message; the last lines before a crash are the wanted ones.
    std::fflush(file_of(log));
  }
  return guard.unlock();
}

}  // namespace

int KIV_CALL zu_log_init(zu_log* log, const char* path) KIV_NOEXCEPT {
  if (log == nullptr) return 0;
  log->file = nullptr;
  log->buffer = nullptr;
  log->lock.state = base::kLockUnusable;
  base::copy_within(log->path, sizeof log->path, path);
  if (path == nullptr) return 0;

  log->file = std::fopen(log->path, "ab+");
  if (log->file == nullptr) return 0;
  log->buffer = base::RawStorage<char>::allocate(kMaxMessage + 1).release();
  if (log->buffer == nullptr) return 0;
  base::init_lock(log->lock);
  return 1;
}

zu_log* KIV_CALL zu_log_malloc(const char* path) KIV_NOEXCEPT {
  auto log = base::make<zu_log>();
  if (!log) return nullptr;
  if (zu_log_init(log.get(), path) == 0) {
    zu_log_destroy(log.get());
    return nullptr;
  }
  return log.release();
}

void KIV_CALL zu_log_destroy(zu_log* log) KIV_NOEXCEPT {
  if (log == nullptr) return;
  if (log->file != nullptr) std::fclose(file_of(log));
  log->file = nullptr;
  base::deallocate(log->buffer);
  log->buffer = nullptr;
  base::destroy_lock(&log->lock);
}

void KIV_CALL zu_log_free(zu_log* log) KIV_NOEXCEPT {
  zu_log_destroy(log);
  base::deallocate(log);
}

#define WRITE_MESSAGE(severity)                                       \
  std::va_list arguments;                                             \
  va_start(arguments, format);                                        \
  const int result = write_message(log, severity, format, arguments); \
  va_end(arguments);                                                  \
  return result

int KIV_CALL zu_log_printf(zu_log* log, const char* format, ...) KIV_NOEXCEPT {
  WRITE_MESSAGE(nullptr);
}

int KIV_CALL zu_log_notice(zu_log* log, const char* format, ...) KIV_NOEXCEPT {
  WRITE_MESSAGE("notice: ");
}

int KIV_CALL zu_log_warn(zu_log* log, const char* format, ...) KIV_NOEXCEPT {
  WRITE_MESSAGE("warn: ");
}

int KIV_CALL zu_log_error(zu_log* log, const char* format, ...) KIV_NOEXCEPT {
  WRITE_MESSAGE("error: ");
}
