// The C library's functions for the environment may not meet. What reads or changes it, or hands it
// on, local time included, holds this lock meanwhile.
#pragma once

#include <pthread.h>

namespace kiv::platform {

class EnvironmentLock {
 public:
  EnvironmentLock() noexcept { pthread_mutex_lock(&mutex_); }
  ~EnvironmentLock() { pthread_mutex_unlock(&mutex_); }
  EnvironmentLock(const EnvironmentLock&) = delete;
  EnvironmentLock& operator=(const EnvironmentLock&) = delete;

 private:
  static inline pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

}  // namespace kiv::platform
