// An echo server on libuv.
#include <uv.h>

#include "bench/harness/server.h"

namespace {

void on_buffer(uv_handle_t*, std::size_t, uv_buf_t* buffer) {
  static char bytes[bench::kReadSize];
  *buffer = uv_buf_init(bytes, sizeof bytes);
}

void on_read(uv_stream_t* stream, ssize_t got, const uv_buf_t* buffer) {
  const uv_buf_t answer =
      uv_buf_init(buffer->base, static_cast<unsigned>(std::max<ssize_t>(got, 0)));
  if (got == 0 || (got > 0 && uv_try_write(stream, &answer, 1) == got)) return;
  uv_close(reinterpret_cast<uv_handle_t*>(stream),
           [](uv_handle_t* closed) { delete reinterpret_cast<uv_tcp_t*>(closed); });
}

void on_connection(uv_stream_t* listener, int) {
  auto* client = new uv_tcp_t;
  uv_tcp_init(listener->loop, client);
  auto* stream = reinterpret_cast<uv_stream_t*>(client);
  if (uv_accept(listener, stream) != 0 || uv_read_start(stream, on_buffer, on_read) != 0) {
    bench::give_up("accept");
  }
}

}  // namespace

int main() {
  bench::raise_descriptor_limit();
  uv_loop_t* loop = uv_default_loop();
  uv_tcp_t server;
  uv_tcp_init(loop, &server);
  const int listener = bench::listen_anywhere();
  uv_tcp_open(&server, listener);
  if (uv_listen(reinterpret_cast<uv_stream_t*>(&server), SOMAXCONN, on_connection) != 0) {
    bench::give_up("server");
  }
  uv_timer_t timer;
  uv_timer_init(loop, &timer);
  uv_timer_start(
      &timer, [](uv_timer_t*) { bench::tick(); }, bench::kTickMs, bench::kTickMs);
  bench::announce(listener);
  uv_run(loop, UV_RUN_DEFAULT);
}
