// Finds the record of a socket or timer by its id: an open-addressed hash table that grows.
#pragma once

#include <cstdint>

namespace kiv::event {

class IdIndex {
 public:
  // The record of `id`; null when it has none.
  void* find(std::int32_t id) const noexcept;
  // Adds an id that is not present yet. False without memory.
  bool insert(std::int32_t id, void* record) noexcept;
  void erase(std::int32_t id) noexcept;
  // Forgets all ids and gives the memory back.
  void clear() noexcept;

 private:
  struct Slot {
    void* record;  // null: free
    std::int32_t id;
  };

  std::uint32_t home_of(std::int32_t id) const noexcept;
  std::uint32_t slot_of(std::int32_t id) const noexcept;
  bool grow() noexcept;

  Slot* slots_ = nullptr;
  std::uint32_t capacity_ = 0;  // a power of two, or 0
  std::uint32_t count_ = 0;
};

}  // namespace kiv::event
