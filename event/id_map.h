// Finds the record of a socket or timer by its id: an open-addressed hash table that grows.
#pragma once

#include <cstdint>

#include "base/owned.h"

namespace kiv::event {

template <typename Record>
class IdMap {
 public:
  IdMap() = default;
  ~IdMap() = default;
  IdMap(const IdMap&) = delete;
  IdMap& operator=(const IdMap&) = delete;

  std::uint32_t count() const { return count_; }

  // The record of `id`; null when it has none.
  Record* find(std::int32_t id) const {
    return capacity_ == 0 ? nullptr : slots_[slot_of(id)].record;
  }

  // Adds an id that is not present yet. False if out of memory.
  bool insert(std::int32_t id, Record* record) {
    // At most half full, so that searches stay short and always end.
    if (count_ >= capacity_ / 2 && !grow()) return false;
    slots_[slot_of(id)] = {record, id};
    ++count_;
    return true;
  }

  // Closes the gap by moving entries back that a search could no longer reach across it.
  void erase(std::int32_t id) {
    if (capacity_ == 0) return;
    std::uint32_t gap = slot_of(id);
    if (slots_[gap].record == nullptr) return;
    const std::uint32_t mask = capacity_ - 1;
    for (std::uint32_t next = (gap + 1) & mask; slots_[next].record != nullptr;
         next = (next + 1) & mask) {
      const std::uint32_t reach = (next - home_of(slots_[next].id)) & mask;
      if (reach < ((next - gap) & mask)) continue;
      slots_[gap] = slots_[next];
      gap = next;
    }
    slots_[gap].record = nullptr;
    --count_;
  }

  // Forgets all ids; the records are the caller's.
  void clear() {
    slots_.reset();
    capacity_ = count_ = 0;
  }

  // Calls visit(record) for each, in no order; it may free the record but
  // not change the map.
  template <typename Visit>
  void for_each(Visit visit) const {
    for (std::uint32_t i = 0; i < capacity_; ++i) {
      if (slots_[i].record != nullptr) visit(*slots_[i].record);
    }
  }

 private:
  struct Slot {
    Record* record;  // null: free
    std::int32_t id;
  };
  static constexpr std::uint32_t kFirstCapacity = 16;

  // Multiplying spreads ids that are multiples of 4, as Windows hands them out, over the high bits.
  std::uint32_t home_of(std::int32_t id) const {
    const std::uint32_t spread = static_cast<std::uint32_t>(id) * 0x9e3779b1U;
    return static_cast<std::uint32_t>((std::uint64_t{spread} * capacity_) >> 32);
  }

  // The slot that holds `id`, or the free slot where its search ends.
  std::uint32_t slot_of(std::int32_t id) const {
    std::uint32_t slot = home_of(id);
    while (slots_[slot].record != nullptr && slots_[slot].id != id) {
      slot = (slot + 1) & (capacity_ - 1);
    }
    return slot;
  }

  bool grow() {
    const std::uint32_t larger = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
    auto old = base::RawStorage<Slot>::allocate_zeroed(larger);
    if (!old) return false;
    std::swap(old, slots_);
    const std::uint32_t old_capacity = std::exchange(capacity_, larger);
    for (std::uint32_t i = 0; i < old_capacity; ++i) {
      if (old[i].record != nullptr) slots_[slot_of(old[i].id)] = old[i];
    }
    return true;
  }

  base::RawStorage<Slot> slots_;
  std::uint32_t capacity_ = 0;  // a power of two, or 0
  std::uint32_t count_ = 0;
};

}  // namespace kiv::event
