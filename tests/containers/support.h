// What the container tests share: small integers as stored values, and a pool at an odd address.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/containers.h"
#include "tests/support/stdout_capture.h"

namespace kiv::test {

using Numbers = std::vector<int>;

inline void* value_of(int number) {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(number));
}
inline int number_of(const void* value) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(value));
}

// The number written out; good until the next call.
inline const char* digits(int number) {
  static std::string text;
  text = std::to_string(number);
  return text.c_str();
}

// A visit or release callback that collects what it sees in Numbers.
inline void KIV_CALL collect(void* value, void* seen) {
  static_cast<Numbers*>(seen)->push_back(number_of(value));
}

struct Dice {
  int below(int limit) { return static_cast<int>(engine() % static_cast<unsigned>(limit)); }
  std::mt19937 engine;
};

struct OddPool {
  explicit OddPool(std::uint32_t size)
      : region(size + 1), handle(zu_mem_init(region.data() + 1, size)) {}
  std::uint32_t used_blocks() const {
    std::uint32_t used = 0;
    zu_mem_info(handle, nullptr, nullptr, &used, nullptr);
    return used;
  }
  std::vector<std::uint8_t> region;
  void* handle;
};

}  // namespace kiv::test
