// An ENet connection, both ends in this process. Its packets are unreliable and unthrottled, and
// free to join in a datagram.
//
//   virtual_enet connect|BYTES SECONDS
#include <enet/enet.h>

#include <future>
#include <string>
#include <thread>

#include "bench/protocol/virtual_load.h"

namespace {

constexpr int kBufferBytes = 0x80000;  // the library's, so that both lose alike
std::atomic<std::int64_t> received{0};

[[noreturn]] void serve(ENetHost* host) {
  bench::pin(0);
  ENetEvent event;
  for (;;) {
    if (enet_host_service(host, &event, 1000) <= 0) continue;
    if (event.type != ENET_EVENT_TYPE_RECEIVE) continue;
    ++received;
    enet_packet_destroy(event.packet);
  }
}

ENetAddress start_server() {
  ENetAddress address{0, 0};
  enet_address_set_host_ip(&address, "127.0.0.1");
  ENetHost* host = enet_host_create(&address, 4000, 1, 0, 0);
  if (!host) bench::give_up("ENet");
  enet_socket_set_option(host->socket, ENET_SOCKOPT_RCVBUF, kBufferBytes);
  enet_socket_get_address(host->socket, &address);
  std::thread(serve, host).detach();
  return address;
}

struct Client {
  ENetAddress server = start_server();
  ENetHost* host = enet_host_create(nullptr, 1, 1, 0, 0);

  ENetPeer* connect() {
    ENetPeer* peer = enet_host_connect(host, &server, 1, 0);
    ENetEvent event;
    if (!peer || enet_host_service(host, &event, 5000) <= 0 ||
        event.type != ENET_EVENT_TYPE_CONNECT) {
      bench::give_up("no connection");
    }
    return peer;
  }
};

void measure_connecting(Client& client, double seconds) {
  bench::Connecting connecting(seconds);
  for (bool more = true; more;) {
    connecting.begin();
    ENetPeer* peer = client.connect();
    more = connecting.connected();
    enet_peer_disconnect_now(peer, 0);
    enet_host_service(client.host, nullptr, bench::kPauseMs);
  }
  connecting.report_all();
}

void measure_sending(Client& client, const std::string& body, double seconds) {
  ENetPeer* peer = client.connect();
  // Unreliable packets are dropped by choice when round trips grow: not here.
  enet_peer_throttle_configure(peer, 1000, ENET_PEER_PACKET_THROTTLE_SCALE, 0);
  int since_service = 0;
  bench::pour(seconds, received, [&] {
    enet_peer_send(peer, 0, enet_packet_create(body.data(), body.size(), 0));
    if (++since_service % 32 == 0) enet_host_service(client.host, nullptr, 0);
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || enet_initialize() != 0) return 2;
  bench::pin(1);
  Client client;
  const double seconds = std::atof(argv[2]);
  if (std::strcmp(argv[1], "connect") == 0) {
    measure_connecting(client, seconds);
  } else {
    measure_sending(client, std::string(static_cast<std::size_t>(std::atoi(argv[1])), 'x'),
                    seconds);
  }
  std::_Exit(0);
}
