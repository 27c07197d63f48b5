// A box whose loop runs on a thread of its own, what its callbacks told, in order, and the other
// end of its connections.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <string>
#include <thread>

#include "kiv_base/base.h"
#include "kiv_base/http.h"
#include "tests/support/eventually.h"
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
  // Events joined until they end like this, in whatever pieces the bytes came.
  std::string next_to(std::string_view end) {
    std::string joined;
    for (;;) {
      const std::string event = next();
      joined += event;
      if (event == "(nothing)" || joined.ends_with(end)) return joined;
    }
  }

  // Nothing but what the box has for itself.
  bool box_is_empty() const {
    return kiv_box_GetNumSock(box_) == 2 && kiv_box_GetNumTimer(box_) == 1;
  }

  // Two threads attach an object while the first answers come in, and one frees it; time and again.
  template <typename Attach, typename Replace>
  void attach_and_free_by_threads(const std::string& answer, Attach attach, Replace replace) {
    std::atomic<bool> stop = false;
    std::thread peer([&] {
      while (!stop) tcp_accept(listener_).send(answer);
    });
    for (int round = 0; round < 30; ++round) {
      std::thread other(attach);
      attach();
      other.join();
      if (round % 3 == 0) next();
      replace();
    }
    stop = true;
    tcp_connect(listener_.local_port());
    peer.join();
    EXPECT_TRUE(eventually([&] { return box_is_empty(); }));
  }

  // Up to its blank line.
  static std::string head_from(const Socket& peer) {
    std::string head, byte;
    do head += byte = peer.receive(1);
    while (!byte.empty() && !head.ends_with("\r\n\r\n"));
    return head;
  }

  Socket listener_ = tcp_listener();
  kiv_box* box_ = nullptr;

 private:
  std::mutex mutex_;
  std::condition_variable more_;
  std::deque<std::string> events_;
  std::thread loop_;
};

}  // namespace kiv::test
