// The lock on a live upper-layer object.
#pragma once

#include "kiv_base/base.h"

namespace kiv::base {

// Holds the object registry's lock while the object is registered. Every operation on such an
// object and every handler of its box takes it first, and lets go of it before it calls the
// application, which may free the object: nothing of it is touched after unlock().
template <typename Object>
class Locked {
 public:
  explicit Locked(Object* object)
      : object_(object != nullptr && __kiv_sem_lock(object) == 1 ? object : nullptr) {}
  ~Locked() { unlock(); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

  // False: never registered, or freed by now.
  explicit operator bool() const { return object_ != nullptr; }
  Object* get() const { return object_; }
  Object* operator->() const { return object_; }
  Object& operator*() const { return *object_; }

  int unlock() {
    const bool held = object_ != nullptr;
    object_ = nullptr;
    return held ? __kiv_sem_unlock() : 0;
  }

 private:
  Object* object_;
};

}  // namespace kiv::base
