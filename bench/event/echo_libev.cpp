// An echo server on libev.
#include <ev.h>

#include "bench/harness/server.h"

namespace {

void on_read(struct ev_loop* loop, ev_io* watcher, int) {
  if (bench::echo(watcher->fd)) return;
  ev_io_stop(loop, watcher);
  close(watcher->fd);
  delete watcher;
}

void on_connection(struct ev_loop* loop, ev_io* listener, int) {
  const int client = accept4(listener->fd, nullptr, nullptr, SOCK_NONBLOCK);
  if (client < 0) return;
  auto* watcher = new ev_io;
  ev_io_init(watcher, on_read, client, EV_READ);
  ev_io_start(loop, watcher);
}

}  // namespace

int main() {
  bench::raise_descriptor_limit();
  struct ev_loop* loop = ev_default_loop(EVBACKEND_EPOLL);
  ev_io listener;
  ev_io_init(&listener, on_connection, bench::listen_anywhere(), EV_READ);
  ev_io_start(loop, &listener);
  ev_timer timer;
  ev_timer_init(
      &timer, [](struct ev_loop*, ev_timer*, int) { bench::tick(); }, bench::kTickMs / 1000.0,
      bench::kTickMs / 1000.0);
  ev_timer_start(loop, &timer);
  bench::announce(listener.fd);
  ev_run(loop, 0);
}
