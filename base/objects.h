// The registry of live upper-layer objects, and the lock on one of them.
#pragma once

#include "base/registry.h"
#include "kiv_base/base.h"

namespace kiv::base {

Registry& objects();

// Its address stands for the type.
template <typename Object>
inline char kind_of;

// Makes the object known as one of its type. __kiv_sem_remove makes it unknown again.
template <typename Object>
bool insert_object(Object* object) {
  return objects().insert(object, &kind_of<Object>);
}

// Holds the object registry's lock while the object is registered. A late handler, or a stale
// handle, whose address is by now that of an object of another type holds nothing. Every operation
// on such an object and every handler of its box takes it first, and lets go of it before it calls
// the application, which may free the object: nothing of it is touched after unlock().
template <typename Object>
class Locked {
 public:
  explicit Locked(Object* object)
      : object_(object != nullptr && objects().lock_if_known(object, &kind_of<Object>) ? object
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
