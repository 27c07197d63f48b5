#include "platform/lock.h"

#include <pthread.h>

namespace kiv::platform {

namespace {

static_assert(sizeof(pthread_mutex_t) <= kLockBytes);
static_assert(alignof(pthread_mutex_t) <= alignof(void*));

pthread_mutex_t* mutex(void* storage) {
  return static_cast<pthread_mutex_t*>(storage);
}

}  // namespace

void lock_init(void* storage) noexcept {
  pthread_mutexattr_t recursive;
  pthread_mutexattr_init(&recursive);
  pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(mutex(storage), &recursive);
  pthread_mutexattr_destroy(&recursive);
}

void lock_destroy(void* storage) noexcept {
  pthread_mutex_destroy(mutex(storage));
}
void lock_acquire(void* storage) noexcept {
  pthread_mutex_lock(mutex(storage));
}
void lock_release(void* storage) noexcept {
  pthread_mutex_unlock(mutex(storage));
}

}  // namespace kiv::platform
