// Locks as objects: one that holds a zu_sem while it lives, one for static storage.
#pragma once

#include <cstdint>

#include "kiv_base/base.h"

namespace kiv::base {

class Guard {
 public:
  // Without a lock (null), or with one that is not usable, the guard does nothing.
  explicit Guard(zu_sem* lock) : lock_(lock) {
    if (lock_ != nullptr && zu_sem_lock(reinterpret_cast<std::uintptr_t>(lock_)) != 1) {
      lock_ = nullptr;
    }
  }
  explicit Guard(zu_sem& lock) : Guard(&lock) {}
  ~Guard() { unlock(); }

  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

  bool held() const { return lock_ != nullptr; }

  // Releases early: 1, or 0 when nothing was held.
  int unlock() {
    if (lock_ == nullptr) return 0;
    const int result = zu_sem_unlock(reinterpret_cast<std::uintptr_t>(lock_));
    lock_ = nullptr;
    return result;
  }

 private:
  zu_sem* lock_;
};

// A lock that the whole process shares: `static StaticLock lock;` in a function makes it at the
// first use, however many threads arrive, and it is never deleted.
struct StaticLock {
  zu_sem sem;
  StaticLock() noexcept { zu_sem_init(&sem); }
};

}  // namespace kiv::base
