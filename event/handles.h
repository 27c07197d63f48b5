// The records behind handles that any thread may pass in, be they alive, stale or wrong.
//
// A record stays where it is once it was allocated, with its lock, and serves one object after the
// other: a stale handle leads to a lock and a flag that says so, never to freed memory. Which
// addresses are records is asked without a lock, so that objects never wait for each other.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/lock.h"
#include "base/owned.h"

namespace kiv::event {

// What a record derives from.
struct HandleRecord {
  base::RecursiveLock lock;  // guards all of it
  bool is_known = false;     // the handle leads to a live object

  HandleRecord* next = nullptr;  // of all records
  HandleRecord* next_free = nullptr;
};

template <typename Record>
class Handles {
 public:
  Handles() = default;
  // Threads that are still in their loops at the end of the process keep the records.
  ~Handles() {
    const base::Guard guard(lock_);
    if (in_use_ == 0) free_all();
  }
  Handles(const Handles&) = delete;
  Handles& operator=(const Handles&) = delete;

  // Is this the address of a record? Any address may be asked for.
  bool has(const void* address) const {
    const Table* const table = table_.load(std::memory_order_acquire);
    if (address == nullptr || table == nullptr) return false;
    std::size_t i = home_of(address) & table->mask;
    for (;; i = (i + 1) & table->mask) {
      const Record* const found = table->slots[i].load(std::memory_order_acquire);
      if (found == nullptr || found == address) return found != nullptr;
    }
  }

  // A record that nobody knows yet, new or as its last object left it; null if out of memory.
  Record* take_record() {
    const base::Guard guard(lock_);
    if (free_ == nullptr && !grow()) return nullptr;
    HandleRecord* const taken = free_;
    free_ = taken->next_free;
    ++in_use_;
    return static_cast<Record*>(taken);
  }

  // The record of an object that has ended, and that is not known any more.
  void give_back(Record* record) {
    const base::Guard guard(lock_);
    record->next_free = free_;
    free_ = record;
    --in_use_;
  }

  // From now on no handle is known; what is going on goes on.
  void forget_all() {
    const base::Guard guard(lock_);
    for (HandleRecord* record = first_; record != nullptr; record = record->next) {
      const base::Guard object(record->lock);
      record->is_known = false;
    }
  }

 private:
  // Open-addressed, at most half full. A larger one keeps the older for those that still read it.
  struct Table {
    std::size_t mask;
    Table* older;
    std::atomic<Record*> slots[1];
  };
  static constexpr std::size_t kFirstSlots = 16;

  static std::size_t home_of(const void* address) {
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    return number >> 5 ^ number >> 12;
  }

  static void enter(Table& table, Record* record) {
    std::size_t i = home_of(record) & table.mask;
    while (table.slots[i].load(std::memory_order_relaxed) != nullptr) i = (i + 1) & table.mask;
    table.slots[i].store(record, std::memory_order_release);
  }

  bool grow() {
    if (!grow_table()) return false;
    Record* const made = base::make<Record>().release();
    if (made == nullptr) return false;
    made->next = first_;
    made->next_free = nullptr;
    first_ = free_ = made;
    ++count_;
    enter(*table_.load(std::memory_order_relaxed), made);
    return true;
  }

  bool grow_table() {
    Table* const old = table_.load(std::memory_order_relaxed);
    if (old != nullptr && count_ < (old->mask + 1) / 2) return true;
    const std::size_t slots = old == nullptr ? kFirstSlots : (old->mask + 1) * 2;
    auto memory = base::RawStorage<char>::allocate_zeroed(sizeof(Table) +
                                                          (slots - 1) * sizeof(Table::slots[0]));
    if (!memory) return false;
    auto* const fresh = reinterpret_cast<Table*>(memory.release());
    fresh->mask = slots - 1;
    fresh->older = old;
    for (HandleRecord* record = first_; record != nullptr; record = record->next) {
      enter(*fresh, static_cast<Record*>(record));
    }
    table_.store(fresh, std::memory_order_release);
    return true;
  }

  void free_all() {
    while (first_ != nullptr) {
      auto* const record = static_cast<Record*>(first_);
      first_ = record->next;
      base::destroy(record);
    }
    for (Table* table = table_.exchange(nullptr); table != nullptr;) {
      Table* const older = table->older;
      base::deallocate(table);
      table = older;
    }
  }

  base::StaticLock lock_;
  std::atomic<Table*> table_{nullptr};
  HandleRecord* first_ = nullptr;
  HandleRecord* free_ = nullptr;
  std::size_t count_ = 0;
  std::size_t in_use_ = 0;
};

}  // namespace kiv::event
