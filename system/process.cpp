// The process: its number, its program and its environment.
#include <cstring>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "platform/process.h"
#include "platform/thread.h"

using namespace kiv;

namespace {

bool is_variable(const char* name) {
  return name != nullptr && *name != '\0' && std::strchr(name, '=') == nullptr;
}

}  // namespace

int32_t KIV_CALL zu_GetProcessId(void) KIV_NOEXCEPT {
  return platform::process_id();
}

int32_t KIV_CALL zu_GetPid(void) KIV_NOEXCEPT {
  // deliberate: the thread's id despite the name; hosts tell a box's own thread by it.
  return platform::current_thread_id();
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
