// The registry of live upper-layer objects, and the lock on one of them.
//
// It lives in static storage and its lock is never destroyed, so that threads may meet a set-up or
// a shut-down at any moment. Those two switch its presence; inserting and looking up set an absent
// registry up.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/lock.h"

namespace kiv::base {

class Registry {
 public:
  // Creates the registry unless it exists; returns false if out of memory.
  bool setup() noexcept;

  // Forgets every address. What the calling thread took with lock_if_known is released.
  void shutdown() noexcept;

  // Each takes the lock for itself; a caller that holds it may call them too. NULL is never
  // registered. A type, of which the address stands for it, replaces that of an address that is
  // registered already: the heap may give one object the address of a freed one of another type.
  bool insert(const void* address, const void* type = nullptr) noexcept;
  bool contains(const void* address) noexcept;
  void remove(const void* address) noexcept;

  // Takes the lock and keeps it when the address is known, and of that type if one is given. Only
  // unlock() releases it again.
  bool lock_if_known(const void* address, const void* type = nullptr) noexcept;

  // Undoes one successful lock_if_known of the calling thread; false when there is none, as while
  // the registry is absent.
  bool unlock() noexcept;

 private:
  struct Entry {
    const void* address;
    const void* type;
    Entry* next;  // in its bucket
  };
  static constexpr std::size_t kBuckets = 10240;

  bool present() const noexcept { return present_.load(std::memory_order_acquire); }
  Entry** find(const void* address) const noexcept;

  StaticLock lock_;
  std::atomic<bool> present_{false};
  std::atomic<std::int32_t> holder_{0};  // the thread between lock_if_known and unlock
  std::int32_t holds_ = 0;               // how often; belongs to the holder
  Entry** buckets_ = nullptr;            // null while absent
};

Registry& objects();

// Its address stands for the type.
template <typename Object>
inline char type_of;

// Registers the object as one of its type, until objects().remove() removes it.
template <typename Object>
bool insert_object(Object* object) {
  return objects().insert(object, &type_of<Object>);
}

// Holds the object registry's lock while the object is registered. A late handler, or a stale
// handle, whose address is by now that of an object of another type holds nothing. Every operation
// on such an object and every handler of its box takes it first, and releases it before it calls
// the application, which may free the object: nothing of it is touched after unlock().
template <typename Object>
class Locked {
 public:
  explicit Locked(Object* object)
      : object_(object != nullptr && objects().lock_if_known(object, &type_of<Object>) ? object
                                                                                       : nullptr) {}
  ~Locked() { unlock(); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

  // False: never registered as such an object, or freed by now.
  explicit operator bool() const { return object_ != nullptr; }
  Object* get() const { return object_; }
  Object* operator->() const { return object_; }
  Object& operator*() const { return *object_; }

  int unlock() {
    const bool held = object_ != nullptr;
    object_ = nullptr;
    return held && objects().unlock() ? 1 : 0;
  }

 private:
  Object* object_;
};

}  // namespace kiv::base
