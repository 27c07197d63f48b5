// For what other threads bring about by themselves, with nothing to wait on.
#pragma once

#include <chrono>
#include <thread>

#include "kiv_base/event.h"

namespace kiv::test {

template <typename Condition>
bool eventually(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return condition();
}

inline int open_sockets() {
  int count = 0;
  for (std::int32_t id = 1; id < 4096; ++id) count += zu_sock_is_fd_valid(id, nullptr);
  return count;
}

}  // namespace kiv::test
