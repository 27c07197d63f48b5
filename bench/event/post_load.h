// From a call in one thread to a function on the loop of another, one at a time, with the loop
// asleep or with peers that never stop sending to it.
#ifndef KIV_BENCH_EVENT_POST_LOAD_H
#define KIV_BENCH_EVENT_POST_LOAD_H

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <semaphore>
#include <thread>
#include <vector>

#include "bench/harness/server.h"

namespace bench {

constexpr int kPeers = 4;

// Connections whose far ends a process of its own fills as fast as they take data.
class Flood {
 public:
  Flood() {
    const int listener = listen_anywhere();
    const sockaddr_in address = loopback(port_of(listener));
    std::array<pollfd, kPeers> far{};
    for (std::size_t i = 0; i < kPeers; ++i) {
      far[i] = {socket(AF_INET, SOCK_STREAM, 0), POLLOUT, 0};
      if (connect(far[i].fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        give_up("connect");
      }
      near_.push_back(accept4(listener, nullptr, nullptr, SOCK_NONBLOCK));
    }
    process_ = fork();
    if (process_ == 0) pour(far);
    for (const pollfd& each : far) close(each.fd);
    close(listener);
  }
  ~Flood() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Flood(const Flood&) = delete;
  Flood& operator=(const Flood&) = delete;

  const std::vector<int>& near() const { return near_; }

 private:
  [[noreturn]] static void pour(std::array<pollfd, kPeers>& far) {
    pin(1);
    static const char data[4096] = {};
    for (;;) {
      poll(far.data(), far.size(), -1);
      for (const pollfd& each : far) {
        if (each.revents != 0) (void)!send(each.fd, data, sizeof data, MSG_DONTWAIT | MSG_NOSIGNAL);
      }
    }
  }
  std::vector<int> near_;
  pid_t process_;
};

// run() is what a post runs on the loop.
class Posting {
 public:
  void run() {
    arrived_ = now();
    heard_.release();
  }

  // Posts for so long, a millisecond apart. A post that never runs counts for as long as it was
  // waited for.
  template <typename Post>
  void measure(double seconds, Post post) {
    pin(1);
    std::vector<double> delays;
    const double end = now() + seconds;
    while (now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      const double start = now();
      post();
      if (!heard_.try_acquire_for(std::chrono::duration<double>(end - start))) arrived_ = now();
      delays.push_back(arrived_ - start);
    }
    report_delays(delays);
  }

 private:
  double arrived_ = 0;
  std::binary_semaphore heard_{0};
};

}  // namespace bench

#endif
