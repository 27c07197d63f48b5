#include "base/registry.h"

#include <type_traits>

#include "base/guard.h"
#include "kiv_base/containers.h"
#include "platform/thread.h"

namespace kiv::base {

namespace {

// Addresses go in at full width: with cut keys a stale handle could pass for a live object.
#if UINTPTR_MAX > UINT32_MAX
using Table = zu_i64hash;
constexpr auto table_make = zu_i64hash_malloc;
constexpr auto table_free = zu_i64hash_free;
constexpr auto table_find = zu_i64hash_find;
constexpr auto table_insert = zu_i64hash_insert;
constexpr auto table_update = zu_i64hash_update;
constexpr auto table_delete = zu_i64hash_delete;
#else
using Table = zu_ihash;
constexpr auto table_make = zu_ihash_malloc;
constexpr auto table_free = zu_ihash_free;
constexpr auto table_find = zu_ihash_find;
constexpr auto table_insert = zu_ihash_insert;
constexpr auto table_update = zu_ihash_update;
constexpr auto table_delete = zu_ihash_delete;
#endif

Table* table_of(void* table) {
  return static_cast<Table*>(table);
}
std::intptr_t key_of(const void* address) {
  return reinterpret_cast<std::intptr_t>(address);
}

}  // namespace

Registry::Registry(std::int32_t buckets) noexcept : buckets_(buckets) {
  zu_sem_init(&lock_);
}

bool Registry::setup() noexcept {
  if (present()) return true;
  Guard guard(lock_);
  if (table_ == nullptr) table_ = table_make(buckets_);
  present_.store(table_ != nullptr, std::memory_order_release);
  return table_ != nullptr;
}

void Registry::shutdown() noexcept {
  Guard guard(lock_);
  present_.store(false, std::memory_order_release);
  table_free(table_of(table_));
  table_ = nullptr;
  // The unlock that belongs to them does nothing from now on, and the lock outlives this.
  holder_.store(0, std::memory_order_relaxed);
  for (; holds_ > 0; --holds_) zu_sem_unlock(reinterpret_cast<std::uintptr_t>(&lock_));
}

bool Registry::contains_nolock(const void* address) const noexcept {
  return table_find(table_of(table_), key_of(address), nullptr) == 1;
}

bool Registry::is_kind(const void* address, const void* kind) const noexcept {
  void* known = nullptr;
  return table_find(table_of(table_), key_of(address), &known) == 1 &&
         (kind == nullptr || known == kind);
}

bool Registry::insert(const void* address, void* kind) noexcept {
  if (address == nullptr || !setup()) return false;
  Guard guard(lock_);
  if (!contains_nolock(address)) {
    return table_insert(table_of(table_), key_of(address), kind) == 1;
  }
  if (kind != nullptr) table_update(table_of(table_), key_of(address), kind);
  return true;
}

bool Registry::contains(const void* address) noexcept {
  if (!setup()) return false;
  Guard guard(lock_);
  return contains_nolock(address);
}

// Does not set up: objects may end behind a shut-down.
void Registry::remove(const void* address) noexcept {
  Guard guard(lock_);
  table_delete(table_of(table_), key_of(address));
}

bool Registry::lock_if_known(const void* address, const void* kind) noexcept {
  if (!setup()) return false;
  zu_sem_lock(reinterpret_cast<std::uintptr_t>(&lock_));
  if (is_kind(address, kind)) {
    holder_.store(platform::current_thread_id(), std::memory_order_relaxed);
    ++holds_;
    return true;
  }
  zu_sem_unlock(reinterpret_cast<std::uintptr_t>(&lock_));
  return false;
}

bool Registry::unlock() noexcept {
  // Releasing a lock that is not held would break it, and a shut-down may have released it. Only
  // the holder itself finds its own id here, so that it may read on.
  if (holder_.load(std::memory_order_relaxed) != platform::current_thread_id()) return false;
  if (--holds_ == 0) holder_.store(0, std::memory_order_relaxed);
  return zu_sem_unlock(reinterpret_cast<std::uintptr_t>(&lock_)) == 1;
}

}  // namespace kiv::base
