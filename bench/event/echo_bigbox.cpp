// An echo server on a big box.
//
//   echo_bigbox SLAVES strict|fair
#include "bench/harness/order.h"
#include "bench/harness/server.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

namespace {

void KIV_CALL on_read(void* big, void*, std::int32_t socket, char* data, std::int32_t length) {
  kiv_bigbox_write(static_cast<kiv_bigbox*>(big), socket, data, length);
}

void KIV_CALL on_close(void* big, void*, std::int32_t socket) {
  kiv_bigbox_DeleteSock(static_cast<kiv_bigbox*>(big), socket);
  close(socket);
}

void KIV_CALL on_accept(void* big, void*, std::int32_t, std::int32_t socket, const char* ip,
                        std::uint16_t port) {
  if (kiv_bigbox_accept(static_cast<kiv_bigbox*>(big), socket, ip, port, on_read, nullptr, on_close,
                        nullptr) == 0) {
    bench::give_up("accept");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  bench::raise_descriptor_limit();
  kiv_Setup();
  kiv_bigbox* big = kiv_bigbox_make(std::atoi(argv[1]), 50000);
  bench::choose_order(big, argv[2]);
  const std::int32_t listener = kiv_bigbox_attach(big, "127.0.0.1", 0, on_accept, nullptr);
  if (listener < 0) bench::give_up("server");
  bench::announce(listener);
  for (;;) pause();
}
