#include "platform/lock.h"

#include <windows.h>

namespace kiv::platform {

namespace {

static_assert(sizeof(CRITICAL_SECTION) == kLockBytes);
static_assert(alignof(CRITICAL_SECTION) <= alignof(void*));

CRITICAL_SECTION* section(void* storage) {
  return static_cast<CRITICAL_SECTION*>(storage);
}

}  // namespace

void lock_init(void* storage) noexcept {
  InitializeCriticalSection(section(storage));
}
void lock_destroy(void* storage) noexcept {
  DeleteCriticalSection(section(storage));
}
void lock_acquire(void* storage) noexcept {
  EnterCriticalSection(section(storage));
}
void lock_release(void* storage) noexcept {
  LeaveCriticalSection(section(storage));
}

}  // namespace kiv::platform
