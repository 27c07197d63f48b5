// The recursive lock record.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "base/owned.h"
#include "kiv_base/base.h"
#include "platform/lock.h"

using namespace kiv;

namespace {

constexpr std::int32_t kUsable = 1;
constexpr std::int32_t kUnusable = -1;

static_assert(std::is_standard_layout_v<zu_sem>);
static_assert(sizeof(zu_sem::section) == platform::kLockBytes);
static_assert(offsetof(zu_sem, state) == platform::kLockBytes);
static_assert(sizeof(void*) != 4 || sizeof(zu_sem) == 28);

zu_sem* usable(std::uintptr_t handle) {
  auto* record = reinterpret_cast<zu_sem*>(handle);
  return record != nullptr && record->state == kUsable ? record : nullptr;
}

}  // namespace

void KIV_CALL zu_sem_init(zu_sem* record) KIV_NOEXCEPT {
  if (record == nullptr) return;
  record->state = kUnusable;
  platform::lock_init(record->section);
  record->state = kUsable;
}

void KIV_CALL zu_sem_init_ex(zu_sem* record) KIV_NOEXCEPT {
  zu_sem_init(record);
}

uintptr_t KIV_CALL zu_sem_malloc(void) KIV_NOEXCEPT {
  auto record = base::Owned<zu_sem>::allocate();
  if (!record) return 0;
  zu_sem_init(record.get());
  return reinterpret_cast<uintptr_t>(record.release());
}

void KIV_CALL zu_sem_free(uintptr_t handle) KIV_NOEXCEPT {
  auto* record = reinterpret_cast<zu_sem*>(handle);
  zu_sem_destroy(record);
  _zu_free(record);
}

int KIV_CALL zu_sem_lock(uintptr_t handle) KIV_NOEXCEPT {
  zu_sem* record = usable(handle);
  if (record == nullptr) return 0;
  platform::lock_acquire(record->section);
  return 1;
}

int KIV_CALL zu_sem_unlock(uintptr_t handle) KIV_NOEXCEPT {
  zu_sem* record = usable(handle);
  if (record == nullptr) return 0;
  platform::lock_release(record->section);
  return 1;
}

int KIV_CALL zu_sem_destroy(zu_sem* record) KIV_NOEXCEPT {
  if (usable(reinterpret_cast<std::uintptr_t>(record)) == nullptr) return 0;
  record->state = kUnusable;
  platform::lock_destroy(record->section);
  return 1;
}
