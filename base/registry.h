// A process-wide set of live addresses behind one lock: tells a live handle from a stale one.
//
// A registry lives in static storage and its lock is made once and never deleted, so that threads
// may meet a set-up or a shut-down at any moment. What set-up and shut-down switch is presence;
// inserting and looking up set an absent registry up.
//
// Registry& objects() { static Registry registry(10240); return registry; }
//
// An address may have a kind, any pointer that stands for it: where live things of several types
// share a registry, the heap may give one the address of a freed one of another type.
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
  // A kind replaces that of an address that is registered already.
  bool insert(const void* address, void* kind = nullptr) noexcept;
  bool contains(const void* address) noexcept;
  void remove(const void* address) noexcept;

  // For a caller that holds the lock; false while the registry is absent.
  bool contains_nolock(const void* address) const noexcept;

  // Takes the lock and keeps it when the address is known, and of that kind if one is given. Only
  // unlock() releases it again.
  bool lock_if_known(const void* address, const void* kind = nullptr) noexcept;

  // Undoes one successful lock_if_known of the calling thread; false when there is none, as while
  // the registry is absent.
  bool unlock() noexcept;

 private:
  bool is_kind(const void* address, const void* kind) const noexcept;

  zu_sem lock_;
  std::atomic<bool> present_{false};
  std::int32_t buckets_;
  std::atomic<std::int32_t> holder_{0};  // the thread between lock_if_known and unlock
  std::int32_t holds_ = 0;               // how often; belongs to the holder
  void* table_ = nullptr;
};

}  // namespace kiv::base
