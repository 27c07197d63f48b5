// The registry of live upper-layer objects.
#include <cstdint>

#include "base/objects.h"

namespace kiv::base {

Registry& objects() {
  constexpr int32_t kBuckets = 10240;
  static Registry registry(kBuckets);
  return registry;
}

}  // namespace kiv::base

using kiv::base::objects;

int KIV_CALL kiv_sem_Setup(void) KIV_NOEXCEPT {
  return objects().setup();
}

void KIV_CALL kiv_sem_Shutdown(void) KIV_NOEXCEPT {
  objects().shutdown();
}

int KIV_CALL __kiv_sem_insert(void* object) KIV_NOEXCEPT {
  return objects().insert(object);
}

int KIV_CALL __kiv_sem_check(void* object) KIV_NOEXCEPT {
  return objects().contains(object);
}

int KIV_CALL __kiv_sem_lock(void* object) KIV_NOEXCEPT {
  return objects().lock_if_known(object);
}

int KIV_CALL __kiv_sem_unlock(void) KIV_NOEXCEPT {
  return objects().unlock();
}

void KIV_CALL __kiv_sem_remove(void* object) KIV_NOEXCEPT {
  objects().remove(object);
}
