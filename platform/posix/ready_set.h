// A set of socket ids that finds its highest member at once: one bit for each id, and above them
// one bit for each word that is not empty.
#pragma once

#include <cstdint>

namespace kiv::platform {

class ReadySet {
 public:
  ReadySet() = default;
  ~ReadySet();
  ReadySet(const ReadySet&) = delete;
  ReadySet& operator=(const ReadySet&) = delete;

  // Makes room for ids up to `id`; false, and no change, if out of memory. The calls below take no
  // id that there is no room for.
  bool reserve(std::int32_t id) noexcept;

  void insert(std::int32_t id) noexcept;
  void erase(std::int32_t id) noexcept;
  bool contains(std::int32_t id) const noexcept;
  void clear() noexcept;
  bool empty() const noexcept { return count_ == 0; }
  // The highest member below `below`, or -1.
  std::int32_t highest(std::int32_t below) const noexcept;

 private:
  std::uint64_t* summary_ = nullptr;  // one block of memory with the words
  std::uint64_t* words_ = nullptr;
  std::uint32_t word_count_ = 0;
  std::uint32_t count_ = 0;
};

}  // namespace kiv::platform
