// The registry of live upper-layer objects.
#include "base/kiv_sem.h"

#include <cstddef>

#include "base/owned.h"
#include "platform/thread.h"

namespace kiv::base {

Registry& objects() {
  static Registry registry;
  return registry;
}

bool Registry::setup() noexcept {
  if (present()) return true;
  const Guard guard(lock_);
  if (buckets_ == nullptr) buckets_ = RawStorage<Entry*>::allocate_zeroed(kBuckets).release();
  present_.store(buckets_ != nullptr, std::memory_order_release);
  return buckets_ != nullptr;
}

void Registry::shutdown() noexcept {
  const Guard guard(lock_);
  present_.store(false, std::memory_order_release);
  for (std::size_t i = 0; buckets_ != nullptr && i < kBuckets; ++i) {
    while (buckets_[i] != nullptr) remove(buckets_[i]->address);
  }
  deallocate(buckets_);
  buckets_ = nullptr;
  // The unlock that belongs to them does nothing from now on, and the lock outlives this.
  holder_.store(0, std::memory_order_relaxed);
  for (; holds_ > 0; --holds_) release(&lock_);
}

// The link to the entry of an address, which is null for an unknown one; for the holder of the lock
// of a registry that is present.
Registry::Entry** Registry::find(const void* address) const noexcept {
  Entry** link =
      &buckets_[reinterpret_cast<std::uintptr_t>(address) / alignof(std::max_align_t) % kBuckets];
  while (*link != nullptr && (*link)->address != address) link = &(*link)->next;
  return link;
}

bool Registry::insert(const void* address, const void* type) noexcept {
  if (address == nullptr || !setup()) return false;
  const Guard guard(lock_);
  if (buckets_ == nullptr) return false;
  Entry** const link = find(address);
  if (*link == nullptr) {
    *link = make<Entry>(address, nullptr, nullptr).release();
    if (*link == nullptr) return false;
  }
  if (type != nullptr) (*link)->type = type;
  return true;
}

bool Registry::contains(const void* address) noexcept {
  if (!setup()) return false;
  const Guard guard(lock_);
  return buckets_ != nullptr && *find(address) != nullptr;
}

// Does not set up: objects may end after a shut-down.
void Registry::remove(const void* address) noexcept {
  const Guard guard(lock_);
  Entry** const link = buckets_ == nullptr ? nullptr : find(address);
  if (link == nullptr || *link == nullptr) return;
  Entry* const entry = *link;
  *link = entry->next;
  destroy(entry);
}

bool Registry::lock_if_known(const void* address, const void* type) noexcept {
  if (!setup()) return false;
  acquire(&lock_);
  const Entry* const entry = buckets_ == nullptr ? nullptr : *find(address);
  if (entry != nullptr && (type == nullptr || entry->type == type)) {
    holder_.store(platform::current_thread_id(), std::memory_order_relaxed);
    ++holds_;
    return true;
  }
  release(&lock_);
  return false;
}

bool Registry::unlock() noexcept {
  // Releasing a lock that is not held would break it, and a shut-down may have released it. Only
  // the holder itself finds its own id here, so that it may read on.
  if (holder_.load(std::memory_order_relaxed) != platform::current_thread_id()) return false;
  if (--holds_ == 0) holder_.store(0, std::memory_order_relaxed);
  return release(&lock_);
}

}  // namespace kiv::base

using kiv::base::objects;

int KIV_CALL kiv_sem_Setup(void) KIV_NOEXCEPT {
  return objects().setup();
}

void KIV_CALL kiv_sem_Shutdown(void) KIV_NOEXCEPT {
  objects().shutdown();
}

int KIV_CALL __kiv_sem_insert(void* object) KIV_NOEXCEPT {
  return objects().insert(object);
}

int KIV_CALL __kiv_sem_check(void* object) KIV_NOEXCEPT {
  return objects().contains(object);
}

int KIV_CALL __kiv_sem_lock(void* object) KIV_NOEXCEPT {
  return objects().lock_if_known(object);
}

int KIV_CALL __kiv_sem_unlock(void) KIV_NOEXCEPT {
  return objects().unlock();
}

void KIV_CALL __kiv_sem_remove(void* object) KIV_NOEXCEPT {
  objects().remove(object);
}
