// The process: its number, its program, its environment and secrets.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "platform/process.h"
#include "platform/random.h"

using namespace kiv;

namespace {

constexpr std::size_t kRandomAtOnce = 256;

bool is_variable(const char* name) {
  return name != nullptr && *name != '\0' && std::strchr(name, '=') == nullptr;
}

}  // namespace

int32_t KIV_CALL zu_GetProcessId(void) KIV_NOEXCEPT {
  return platform::process_id();
}

char* KIV_CALL zu_GetExecutablePath(void) KIV_NOEXCEPT {
  return platform::executable_path();
}

char* KIV_CALL zu_GetEnv(const char* name) KIV_NOEXCEPT {
  return is_variable(name) ? platform::environment_get(name) : nullptr;
}

int KIV_CALL zu_SetEnv(const char* name, const char* value) KIV_NOEXCEPT {
  return is_variable(name) && value != nullptr && platform::environment_set(name, value);
}

int KIV_CALL zu_UnsetEnv(const char* name) KIV_NOEXCEPT {
  return is_variable(name) && platform::environment_unset(name);
}

int KIV_CALL zu_RandomBytes(void* buffer, int32_t count) KIV_NOEXCEPT {
  if (buffer == nullptr || count < 0) return 0;
  const auto size = static_cast<std::size_t>(count);
  auto* bytes = static_cast<unsigned char*>(buffer);
  for (std::size_t at = 0; at < size; at += kRandomAtOnce) {
    if (platform::random_bytes(bytes + at, std::min(size - at, kRandomAtOnce))) continue;
    platform::clear_memory(buffer, size);
    return 0;
  }
  return 1;
}

void KIV_CALL zu_ClearMemory(void* memory, int32_t count) KIV_NOEXCEPT {
  if (memory != nullptr && count > 0) {
    platform::clear_memory(memory, static_cast<std::size_t>(count));
  }
}
