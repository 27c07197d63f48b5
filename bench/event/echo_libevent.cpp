// An echo server on libevent.
//
//   echo_libevent [THREADS]      with threads, one more accepts and distributes the connections
#include <event2/event.h>
#include <event2/listener.h>
#include <event2/thread.h>

#include <thread>
#include <vector>

#include "bench/harness/server.h"

namespace {

struct Bases {
  std::vector<event_base*> all;
  std::size_t next = 0;
};

void on_read(evutil_socket_t socket, short, void* self) {
  if (bench::echo(socket)) return;
  event_free(static_cast<event*>(self));
  close(socket);
}

void on_accept(evconnlistener*, evutil_socket_t socket, sockaddr*, int, void* bases_) {
  auto* bases = static_cast<Bases*>(bases_);
  event_base* base = bases->all[bases->next++ % bases->all.size()];
  event_add(event_new(base, socket, EV_READ | EV_PERSIST, on_read, event_self_cbarg()), nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  bench::raise_descriptor_limit();
  const int threads = argc > 1 ? std::atoi(argv[1]) : 0;
  if (threads > 0) evthread_use_pthreads();
  event_base* master = event_base_new();
  Bases bases;
  for (int i = 0; i < threads; ++i) {
    bases.all.push_back(event_base_new());
    std::thread(event_base_loop, bases.all.back(), EVLOOP_NO_EXIT_ON_EMPTY).detach();
  }
  if (threads == 0) bases.all.push_back(master);
  const int listener = bench::listen_anywhere();
  evconnlistener_new(master, on_accept, &bases, 0, -1, listener);
  const timeval interval{0, bench::kTickMs * 1000};
  event_add(
      event_new(
          master, -1, EV_PERSIST, [](evutil_socket_t, short, void*) { bench::tick(); }, nullptr),
      &interval);
  bench::announce(listener);
  event_base_dispatch(master);
}
