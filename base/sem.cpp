// The recursive lock record.
#include <cstddef>
#include <cstdint>

#include "base/layout.h"
#include "base/lock.h"
#include "base/owned.h"

using namespace kiv;

namespace {

static_assert(sizeof(zu_sem::section) == platform::kLockBytes);
KIV_LAYOUT(zu_sem, 28, state, 24);

zu_sem* lock_of(std::uintptr_t handle) {
  return reinterpret_cast<zu_sem*>(handle);
}

}  // namespace

void KIV_CALL zu_sem_init(zu_sem* record) KIV_NOEXCEPT {
  if (record != nullptr) base::init_lock(*record);
}

void KIV_CALL zu_sem_init_ex(zu_sem* record) KIV_NOEXCEPT {
  zu_sem_init(record);
}

uintptr_t KIV_CALL zu_sem_malloc(void) KIV_NOEXCEPT {
  auto record = base::make<zu_sem>();
  if (!record) return 0;
  base::init_lock(*record);
  return reinterpret_cast<uintptr_t>(record.release());
}

void KIV_CALL zu_sem_free(uintptr_t handle) KIV_NOEXCEPT {
  base::destroy_lock(lock_of(handle));
  base::deallocate(lock_of(handle));
}

int KIV_CALL zu_sem_lock(uintptr_t handle) KIV_NOEXCEPT {
  return base::acquire(lock_of(handle));
}

int KIV_CALL zu_sem_unlock(uintptr_t handle) KIV_NOEXCEPT {
  return base::release(lock_of(handle));
}

int KIV_CALL zu_sem_destroy(zu_sem* record) KIV_NOEXCEPT {
  return base::destroy_lock(record);
}
