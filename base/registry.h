// A process-wide set of live addresses behind one lock: tells a live handle from a stale one.
//
// A registry lives in static storage and its lock is made once and never deleted, so that threads
// may meet a set-up or a shut-down at any moment. What set-up and shut-down switch is presence;
// inserting and looking up set an absent registry up.
//
// Registry& objects() { static Registry registry(10240); return registry; }
#pragma once

#include <atomic>
#include <cstdint>

#include "kiv_base/base.h"

namespace kiv::base {

class Registry {
 public:
  // Cheap: the buckets are made at set-up.
  explicit Registry(std::int32_t buckets) noexcept;
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Makes the registry present; false when memory runs out.
  bool setup() noexcept;

  // Forgets every address. What the calling thread took with lock_if_known is released.
  void shutdown() noexcept;

  bool present() const noexcept { return present_.load(std::memory_order_acquire); }

  // The lock, for Guard and for those that share it. It is usable at all times.
  zu_sem* lock() noexcept { return &lock_; }

  // Each takes the lock for itself; a caller that holds it may call them too. A null address is
  // never registered.
  bool insert(const void* address) noexcept;
  bool contains(const void* address) noexcept;
  void remove(const void* address) noexcept;

  // For a caller that holds the lock; false while the registry is absent.
  bool contains_nolock(const void* address) const noexcept;

  // Takes the lock and keeps it when the address is known. Only unlock() releases it again.
  bool lock_if_known(const void* address) noexcept;

  // Undoes one successful lock_if_known of the calling thread; false when there is none, as while
  // the registry is absent.
  bool unlock() noexcept;

 private:
  zu_sem lock_;
  std::atomic<bool> present_{false};
  std::int32_t buckets_;
  std::atomic<std::int32_t> holder_{0};  // the thread between lock_if_known and unlock
  std::int32_t holds_ = 0;               // how often; belongs to the holder
  void* table_ = nullptr;
};

}  // namespace kiv::base
