// What the container tests share: small integers as stored values, and a pool at an odd address.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/containers.h"

namespace kiv::test {

inline void* value_of(int number) {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(number));
}

inline int number_of(const void* value) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(value));
}

// A visit or release callback that collects what it sees in a std::vector<int>.
inline void KIV_CALL collect(void* value, void* seen) {
  static_cast<std::vector<int>*>(seen)->push_back(number_of(value));
}

class OddPool {
 public:
  explicit OddPool(std::uint32_t size) : region_(size + 1) {
    handle = zu_mem_init(region_.data() + 1, size);
  }
  std::uint32_t used_blocks() const {
    std::uint32_t used = 0;
    zu_mem_info(handle, nullptr, nullptr, &used, nullptr);
    return used;
  }
  void* handle;

 private:
  std::vector<std::uint8_t> region_;
};

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  int below(int limit) {
    return static_cast<int>(engine_() % static_cast<std::mt19937::result_type>(limit));
  }

 private:
  std::mt19937 engine_;
};

}  // namespace kiv::test
