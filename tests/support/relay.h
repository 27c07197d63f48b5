// A bad network between one client and a server, both on 127.0.0.1: it loses, doubles, delays and
// so reorders datagrams.
#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <random>
#include <string>
#include <thread>

#include "tests/support/sockets.h"

namespace kiv::test {

class Relay {
 public:
  Relay(std::uint16_t server_port, unsigned seed) : server_port_(server_port), random_(seed) {}
  ~Relay() {
    stopped_ = true;
    thread_.join();
  }

  // Where the client finds the server.
  std::uint16_t port() const { return near_.local_port(); }

 private:
  using Clock = std::chrono::steady_clock;
  struct Waiting {
    const Socket& out;
    std::uint16_t to;
    std::string datagram;
  };

  void run() {
    std::uint16_t client_port = 0;
    std::multimap<Clock::time_point, Waiting> waiting;
    while (!stopped_) {
      if (near_.readable_within(0)) {
        const std::string datagram = near_.receive_datagram(&client_port);
        take(waiting, {far_, server_port_, datagram});
      }
      if (far_.readable_within(0)) take(waiting, {near_, client_port, far_.receive_datagram()});
      while (!waiting.empty() && waiting.begin()->first <= Clock::now()) {
        const Waiting& first = waiting.begin()->second;
        first.out.send_to(first.to, first.datagram);
        waiting.erase(waiting.begin());
      }
      near_.readable_within(1);
    }
  }

  void take(std::multimap<Clock::time_point, Waiting>& waiting, const Waiting& one) {
    const auto dice = random_() % 10;  // two of ten are lost, two doubled
    for (int copies = dice < 2 ? 0 : dice < 4 ? 2 : 1; copies > 0; --copies) {
      waiting.emplace(Clock::now() + std::chrono::milliseconds(random_() % 20), one);
    }
  }

  Socket near_ = udp_socket(), far_ = udp_socket();
  std::uint16_t server_port_;
  std::mt19937 random_;
  std::atomic<bool> stopped_{false};
  std::thread thread_{[this] { run(); }};
};

}  // namespace kiv::test
