// Recursive locks as objects, and the guard that holds one while it lives.
//
// The records of callers are locks as well: zu_sem, which the exported functions take by address.
#pragma once

#include <cstdint>

#include "kiv_base/base.h"
#include "platform/lock.h"

namespace kiv::base {

inline constexpr std::int32_t kLockUsable = 1;
inline constexpr std::int32_t kLockUnusable = -1;

inline void init_lock(zu_sem& lock) noexcept {
  lock.state = kLockUnusable;
  platform::lock_init(lock.section);
  lock.state = kLockUsable;
}

// Each returns false for a lock that is null or not usable.
inline bool acquire(zu_sem* lock) noexcept {
  if (lock == nullptr || lock->state != kLockUsable) return false;
  platform::lock_acquire(lock->section);
  return true;
}

inline bool release(zu_sem* lock) noexcept {
  if (lock == nullptr || lock->state != kLockUsable) return false;
  platform::lock_release(lock->section);
  return true;
}

inline bool destroy_lock(zu_sem* lock) noexcept {
  if (lock == nullptr || lock->state != kLockUsable) return false;
  lock->state = kLockUnusable;
  platform::lock_destroy(lock->section);
  return true;
}

// For static storage: never destroyed, so that threads may meet the end of the process.
struct StaticLock : zu_sem {
  StaticLock() noexcept { init_lock(*this); }
};

class RecursiveLock : public StaticLock {
 public:
  RecursiveLock() = default;
  ~RecursiveLock() { destroy_lock(this); }
  RecursiveLock(const RecursiveLock&) = delete;
  RecursiveLock& operator=(const RecursiveLock&) = delete;
};

class Guard {
 public:
  // Without a lock (null), or with one that is not usable, the guard does nothing.
  explicit Guard(zu_sem* lock) : lock_(acquire(lock) ? lock : nullptr) {}
  explicit Guard(zu_sem& lock) : Guard(&lock) {}
  ~Guard() { unlock(); }

  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

  bool held() const { return lock_ != nullptr; }

  // Releases early: 1, or 0 when nothing was held.
  int unlock() {
    const bool released = release(lock_);
    lock_ = nullptr;
    return released;
  }

 private:
  zu_sem* lock_;
};

}  // namespace kiv::base
