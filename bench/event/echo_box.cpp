// An echo server on one box.
//
//   echo_box strict|fair|raw      a kiv_box in the stated order, in fair rounds; a zu_box
#include <cstring>

#include "bench/harness/order.h"
#include "bench/harness/server.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

namespace {

struct Checked {
  using Box = kiv_box;
  static constexpr auto serve = kiv_box_NewTcpServer;
  static constexpr auto accept = kiv_box_AcceptTcpClient;
  static constexpr auto write = kiv_box_TcpWrite;
  static constexpr auto drop = kiv_box_DeleteSock;
  static constexpr auto start_timer = kiv_box_NewLoopTimer;
  static constexpr auto loop = kiv_box_loop;
};

struct Raw {
  using Box = zu_box;
  static constexpr auto serve = zu_box_sock_AddLocalTcpServer;
  static constexpr auto accept = zu_box_sock_AddRemoteTcpClient;
  static constexpr auto write = zu_box_sock_TcpWrite;
  static constexpr auto drop = zu_box_sock_Delete;
  static constexpr auto start_timer = zu_box_timer_AddLoopTimer;
  static constexpr auto loop = zu_box_StartLoop;
};

template <typename Api>
void serve(typename Api::Box* box) {
  using Box = typename Api::Box;
  const auto on_read = [](void* on, void*, std::int32_t socket, char* data, std::int32_t length) {
    Api::write(static_cast<Box*>(on), socket, data, length);
  };
  const auto on_close = [](void* on, void*, std::int32_t socket) {
    Api::drop(static_cast<Box*>(on), socket);
  };
  static const zu_box_read_fn read = on_read;
  static const zu_box_socket_fn close = on_close;
  const auto on_accept = [](void* on, void*, std::int32_t, std::int32_t socket, const char*,
                            std::uint16_t) {
    if (Api::accept(static_cast<Box*>(on), socket, read, nullptr, close, nullptr) < 0) {
      bench::give_up("accept");
    }
  };
  const std::int32_t listener = Api::serve(box, "127.0.0.1", 0, on_accept, nullptr);
  if (listener < 0) bench::give_up("server");
  Api::start_timer(
      box, bench::kTickMs, [](void*, void*, std::int32_t, std::int32_t) { bench::tick(); },
      nullptr);
  bench::announce(listener);
  Api::loop(box);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  bench::raise_descriptor_limit();
  kiv_Setup();
  if (std::strcmp(argv[1], "raw") == 0) {
    serve<Raw>(zu_box_malloc());
    return 0;
  }
  kiv_box* box = kiv_box_new();
  bench::choose_order(box, argv[1]);
  kivx_box_SetCapacity(box, 20000);
  serve<Checked>(box);
}
