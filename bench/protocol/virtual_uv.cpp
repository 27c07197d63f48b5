// A virtual connection of the library, both ends in this process.
//
//   virtual_uv connect|BYTES SECONDS
#include <future>
#include <string>
#include <thread>

#include "bench/protocol/virtual_load.h"
#include "kiv_base/base.h"
#include "kiv_base/protocol.h"

namespace {

std::atomic<std::int64_t> received{0};

int KIV_CALL on_data(kiv_uvs*, void*, char*, std::int32_t) {
  ++received;
  return 0;
}

int KIV_CALL on_close(kiv_uvs* server, void*) {
  return kiv_uvs_DeleteClient(server, kiv_uvs_GetThisClientId(server));
}

int KIV_CALL on_connect(kiv_uvs* server, void*, std::int32_t client, const char*, std::uint16_t) {
  return kiv_uvs_AcceptClient(server, client, on_data, nullptr, on_close, nullptr);
}

// Returns its port.
std::uint16_t start_server() {
  std::promise<std::uint16_t> listens;
  std::thread([&listens] {
    bench::pin(0);
    kiv_box* box = kiv_box_new();
    kiv_uvs* server = kiv_uvs_make();
    std::uint16_t port = 25000;
    while (!kiv_uvs_attach(box, server, port, on_connect, nullptr, nullptr, nullptr)) ++port;
    listens.set_value(port);
    kiv_box_loop(box);
  }).detach();
  return listens.get_future().get();
}

struct Client {
  std::uint16_t port = start_server();
  kiv_box* box = kiv_box_new();
  kiv_uvc* handle = kiv_uvc_make();

  void connect(kiv_uvc_fn then, void* argument) {
    const auto failed = [](kiv_uvc*, void*) -> int { bench::give_up("no connection"); };
    if (kiv_uvc_attach(box, handle, "127.0.0.1", port, then, argument, failed, nullptr, nullptr,
                       nullptr, failed, nullptr) == 0) {
      bench::give_up("attach");
    }
  }
};

struct Connects : Client, bench::Connecting {
  using Connecting::Connecting;

  void go() {
    begin();
    connect(
        [](kiv_uvc* client, void* self) {
          kiv_uvc_close(client);
          return static_cast<Connects*>(self)->next();
        },
        this);
  }
  int next() {
    if (connected()) {
      const auto again = [](void*, void* self, std::int32_t, std::int32_t) {
        kiv_box_DeleteTimer(static_cast<Connects*>(self)->box,
                            kiv_box_GetThisTimerId(static_cast<Connects*>(self)->box));
        static_cast<Connects*>(self)->go();
      };
      return kiv_box_NewOnceTimer(box, bench::kPauseMs, again, this);
    }
    kiv_box_BreakLoop(box);
    return 0;
  }
};

struct Sends : Client {
  std::string body;
  double seconds;

  void go() {
    connect(
        [](kiv_uvc* client, void* self_) {
          auto* self = static_cast<Sends*>(self_);
          bench::pour(self->seconds, received, [&] {
            kiv_uvc_write(client, self->body.data(), static_cast<std::int32_t>(self->body.size()));
          });
          kiv_box_BreakLoop(self->box);
          return 0;
        },
        this);
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const double seconds = std::atof(argv[2]);
  kiv_Setup();
  bench::pin(1);
  if (std::strcmp(argv[1], "connect") == 0) {
    Connects client(seconds);
    client.go();
    kiv_box_loop(client.box);
    client.report_all();
  } else {
    Sends client;
    client.body.assign(static_cast<std::size_t>(std::atoi(argv[1])), 'x');
    client.seconds = seconds;
    client.go();
    kiv_box_loop(client.box);
  }
  std::_Exit(0);
}
