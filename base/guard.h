// Holds a zu_sem while it lives.
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

  // Releases early; a second call does nothing.
  void unlock() {
    if (lock_ != nullptr) zu_sem_unlock(reinterpret_cast<std::uintptr_t>(lock_));
    lock_ = nullptr;
  }

 private:
  zu_sem* lock_;
};

}  // namespace kiv::base
