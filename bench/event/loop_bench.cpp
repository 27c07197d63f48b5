// One turn of a loop: wait for many sockets of which one becomes ready, call back, read one byte
// and make another socket ready. The plain row is poll() over a fixed array and nothing else.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "kiv_base/event.h"
#ifdef KIV_BENCH_LIBEVENT
#include <event2/event.h>
#endif

namespace {

// Pairs of connected sockets; the far end makes the near end ready.
class Ring {
 public:
  Ring(benchmark::State& state) : state_(state), pairs_(static_cast<std::size_t>(state.range(0))) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    for (Pair& pair : pairs_) {
      if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair.ends) != 0) state.SkipWithError("descriptors");
    }
  }
  ~Ring() {
    for (const Pair& pair : pairs_) {
      close(pair.ends[0]);
      close(pair.ends[1]);
    }
  }

  std::size_t size() const { return pairs_.size(); }
  int near_end(std::size_t i) const { return pairs_[i].ends[0]; }

  void wake_next() {
    next_ = (next_ + 617) % pairs_.size();
    benchmark::DoNotOptimize(write(pairs_[next_].ends[1], "x", 1));
  }

  // The work of every callback. False at the end of the measurement.
  bool served(int socket) {
    char byte;
    benchmark::DoNotOptimize(read(socket, &byte, 1));
    if (!state_.KeepRunning()) return false;
    wake_next();
    return true;
  }

 private:
  struct Pair {
    int ends[2];
  };
  benchmark::State& state_;
  std::vector<Pair> pairs_;
  std::size_t next_ = 0;
};

struct BoxTurn {
  Ring* ring;
  zu_box* box;
  static void KIV_CALL ready(void* self) {
    auto* turn = static_cast<BoxTurn*>(self);
    if (!turn->ring->served(zu_box_sock_GetThisId(turn->box))) zu_box_BreakLoop(turn->box);
  }
};

void box_loop(benchmark::State& state) {
  Ring ring(state);
  BoxTurn turn{&ring, zu_box_malloc()};
  for (std::size_t i = 0; i < ring.size(); ++i) {
    zu_box_sock_ImportSocketId_ForRead(turn.box, ring.near_end(i), BoxTurn::ready, &turn);
  }
  ring.wake_next();
  zu_box_StartLoop(turn.box);
  zu_box_free(turn.box);
}
BENCHMARK(box_loop)->Arg(1)->Arg(100)->Arg(1000);

void bare_poll(benchmark::State& state) {
  Ring ring(state);
  std::vector<pollfd> entries;
  for (std::size_t i = 0; i < ring.size(); ++i) entries.push_back({ring.near_end(i), POLLIN, 0});
  ring.wake_next();
  for (bool running = true; running;) {
    poll(entries.data(), entries.size(), -1);
    for (const pollfd& entry : entries) {
      if ((entry.revents & POLLIN) == 0) continue;
      running = ring.served(entry.fd);
      break;
    }
  }
}
BENCHMARK(bare_poll)->Arg(1)->Arg(100)->Arg(1000);

#ifdef KIV_BENCH_LIBEVENT
struct PeerTurn {
  Ring* ring;
  event_base* base;
  static void ready(evutil_socket_t socket, short, void* self) {
    auto* turn = static_cast<PeerTurn*>(self);
    if (!turn->ring->served(socket)) event_base_loopbreak(turn->base);
  }
};

void libevent_loop(benchmark::State& state, const char* method) {
  Ring ring(state);
  event_config* config = event_config_new();
  for (const char* other : {"epoll", "poll", "select"}) {
    if (std::string(other) != method) event_config_avoid_method(config, other);
  }
  PeerTurn turn{&ring, event_base_new_with_config(config)};
  std::vector<event*> events;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    events.push_back(
        event_new(turn.base, ring.near_end(i), EV_READ | EV_PERSIST, PeerTurn::ready, &turn));
    event_add(events.back(), nullptr);
  }
  ring.wake_next();
  event_base_dispatch(turn.base);
  state.SetLabel(event_base_get_method(turn.base));
  for (event* each : events) event_free(each);
  event_base_free(turn.base);
  event_config_free(config);
}
BENCHMARK_CAPTURE(libevent_loop, poll, "poll")->Arg(1)->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(libevent_loop, epoll, "epoll")->Arg(1)->Arg(100)->Arg(1000);
#endif

}  // namespace
