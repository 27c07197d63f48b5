// The registry of live upper-layer objects.
#include <cstdint>

#include "base/registry.h"
#include "kiv_base/base.h"

using namespace kiv;

namespace {

constexpr int32_t kBuckets = 10240;

base::Registry& objects() {
  static base::Registry registry(kBuckets);
  return registry;
}

}  // namespace

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
