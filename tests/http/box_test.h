// A box whose loop runs on a thread of its own, and what its callbacks told, in order.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <string>
#include <thread>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/sockets.h"

namespace kiv::test {

class BoxTest : public testing::Test {
 protected:
  BoxTest() {
    std::promise<kiv_box*> made;
    loop_ = std::thread([&] {
      kiv_box* const box = kiv_box_new();
      made.set_value(box);
      kiv_box_loop(box);
    });
    box_ = made.get_future().get();
  }
  ~BoxTest() override { end_loop(); }

  // Callbacks that still run find their objects: call it before these go.
  void end_loop() {
    kiv_box_BreakLoop(box_);
    if (loop_.joinable()) loop_.join();
  }

  void add(const std::string& event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    more_.notify_all();
  }
  std::string next() {
    std::unique_lock lock(mutex_);
    more_.wait_for(lock, std::chrono::seconds(20), [&] { return !events_.empty(); });
    if (events_.empty()) return "(nothing)";
    const std::string event = events_.front();
    events_.pop_front();
    return event;
  }
  // Events joined until they end like this, whatever the pieces that the bytes came in.
  std::string next_to(std::string_view end) {
    std::string joined;
    for (;;) {
      const std::string event = next();
      joined += event;
      if (event == "(nothing)" || joined.ends_with(end)) return joined;
    }
  }

  kiv_box* box_ = nullptr;

 private:
  std::mutex mutex_;
  std::condition_variable more_;
  std::deque<std::string> events_;
  std::thread loop_;
};

}  // namespace kiv::test
