#include "platform/process.h"

#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/posix/environment.h"
#include "platform/text_buffer.h"

namespace kiv::platform {

namespace {

// Local time keeps its zone until it is told.
bool noted(const char* name, bool changed) {
  if (changed && std::strcmp(name, "TZ") == 0) tzset();
  return changed;
}

}  // namespace

std::int32_t process_id() noexcept {
  return getpid();
}

char* executable_path() noexcept {
  TextBuffer path;
  for (std::size_t room = 256; path.reserve(room); room *= 2) {
    const ssize_t length = readlink("/proc/self/exe", path.end(), path.space());
    if (length <= 0) return nullptr;
    if (static_cast<std::size_t>(length) == path.space()) continue;
    path.use_reserved(static_cast<std::size_t>(length));
    return path.release();
  }
  return nullptr;
}

char* environment_get(const char* name) noexcept {
  const EnvironmentLock lock;
  const char* value = std::getenv(name);
  if (value == nullptr) return nullptr;
  TextBuffer copy;
  copy.append(value);
  return copy.release();
}

bool environment_set(const char* name, const char* value) noexcept {
  const EnvironmentLock lock;
  return noted(name, setenv(name, value, 1) == 0);
}

bool environment_unset(const char* name) noexcept {
  const EnvironmentLock lock;
  return noted(name, unsetenv(name) == 0);
}

bool call_when_forked(void (*then)()) noexcept {
  return pthread_atfork(nullptr, nullptr, then) == 0;
}

void clear_memory(void* memory, std::size_t size) noexcept {
  explicit_bzero(memory, size);
}

void last_error_text(char* out, std::size_t room) noexcept {
  char own[128];
  std::snprintf(out, room, "%s", strerror_r(errno, own, sizeof own));
}

}  // namespace kiv::platform
