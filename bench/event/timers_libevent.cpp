// Timers of libevent, each an event of its own that is allocated and freed.
//
//   timers_libevent plain|locked COUNT      a base for one thread, one for any
#include <event2/event.h>
#include <event2/thread.h>

#include <cstring>

#include "bench/event/timers_load.h"

namespace {

class Timers {
 public:
  using Id = event*;
  explicit Timers(bench::Firing* firing) : firing_(firing) {}
  ~Timers() { event_base_free(base_); }
  Timers(const Timers&) = delete;
  Timers& operator=(const Timers&) = delete;

  Id add(std::uint32_t milliseconds) {
    event* timer = event_new(base_, -1, 0, on_timer, this);
    const timeval interval = {static_cast<time_t>(milliseconds / 1000),
                              static_cast<suseconds_t>(milliseconds % 1000 * 1000)};
    event_add(timer, &interval);
    return timer;
  }
  void remove(Id timer) { event_free(timer); }
  void run() { event_base_dispatch(base_); }

 private:
  static void on_timer(evutil_socket_t, short, void* self_) {
    auto* self = static_cast<Timers*>(self_);
    event_free(event_base_get_running_event(self->base_));
    self->firing_->fired();
  }
  bench::Firing* firing_;
  event_base* base_ = event_base_new();
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  if (std::strcmp(argv[1], "locked") == 0) evthread_use_pthreads();
  bench::measure_timers<Timers>(static_cast<std::size_t>(std::atoi(argv[2])));
}
