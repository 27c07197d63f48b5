// Waking a libuv loop by an async handle.
//
//   post_libuv idle|flood SECONDS
#include <uv.h>

#include <cstring>
#include <optional>

#include "bench/event/post_load.h"

namespace {

void on_buffer(uv_handle_t*, std::size_t, uv_buf_t* buffer) {
  static char bytes[bench::kReadSize];
  *buffer = uv_buf_init(bytes, sizeof bytes);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::optional<bench::Flood> flood;
  if (std::strcmp(argv[1], "flood") == 0) flood.emplace();
  bench::Posting posting;
  uv_loop_t* loop = uv_default_loop();
  uv_async_t async;
  uv_async_init(loop, &async,
                [](uv_async_t* self) { static_cast<bench::Posting*>(self->data)->run(); });
  async.data = &posting;
  uv_tcp_t peers[bench::kPeers];
  for (int i = 0; flood && i < bench::kPeers; ++i) {
    uv_tcp_init(loop, &peers[i]);
    uv_tcp_open(&peers[i], flood->near()[static_cast<std::size_t>(i)]);
    uv_read_start(reinterpret_cast<uv_stream_t*>(&peers[i]), on_buffer,
                  [](uv_stream_t*, ssize_t, const uv_buf_t*) {});
  }
  std::thread([loop] {
    bench::pin(0);
    uv_run(loop, UV_RUN_DEFAULT);
  }).detach();
  posting.measure(std::atof(argv[2]), [&] { uv_async_send(&async); });
  flood.reset();
  std::_Exit(0);
}
