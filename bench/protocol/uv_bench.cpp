// Virtual connections: what a client costs to connect, a round trip beside one over plain sockets,
// and a server of 10,000 clients while two threads pour garbage on it.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/protocol.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kAddresses = 0x7f010000;  // 127.1.0.0
constexpr char kRequest = 10;

sockaddr_in address(std::uint32_t ip, std::uint16_t port) {
  sockaddr_in made{};
  made.sin_family = AF_INET;
  made.sin_addr.s_addr = htonl(ip);
  made.sin_port = htons(port);
  return made;
}

// A blocking socket that talks to one port of 127.0.0.1.
struct Plain {
  Plain(std::uint16_t to, std::uint32_t ip = 0x7f000001) : id(socket(AF_INET, SOCK_DGRAM, 0)) {
    const sockaddr_in near = address(ip, 0), far = address(0x7f000001, to);
    const timeval deadline{1, 0};
    setsockopt(id, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
    if (bind(id, reinterpret_cast<const sockaddr*>(&near), sizeof near) != 0 ||
        connect(id, reinterpret_cast<const sockaddr*>(&far), sizeof far) != 0) {
      std::abort();
    }
  }
  ~Plain() { close(id); }
  Plain(const Plain&) = delete;
  Plain& operator=(const Plain&) = delete;

  void write(const std::string& data) const { (void)!send(id, data.data(), data.size(), 0); }
  bool read() const {
    char data[100];
    return recv(id, data, sizeof data, 0) > 0;
  }

  const int id;
};

struct Server {
  explicit Server(bool told = false) {
    const auto foreign_fn = told ? on_foreign : nullptr;
    while (kiv_uvs_attach(box, handle, port, on_connect, nullptr, foreign_fn, this) == 0) ++port;
  }
  ~Server() {
    kiv_uvs_free(handle);
    kivx_ThreadBox_destroy(box);
  }

  static int KIV_CALL on_data(kiv_uvs* server, void*, char* data, std::int32_t length) {
    return kiv_uvs_write(server, kiv_uvs_GetThisClientId(server), data, length);
  }
  static int KIV_CALL on_close(kiv_uvs* server, void* self) {
    ++static_cast<Server*>(self)->lost;
    return kiv_uvs_DeleteClient(server, kiv_uvs_GetThisClientId(server));
  }
  static int KIV_CALL on_connect(kiv_uvs* server, void* self, std::int32_t id, const char*,
                                 std::uint16_t) {
    return kiv_uvs_AcceptClient(server, id, on_data, self, on_close, self);
  }
  static int KIV_CALL on_foreign(kiv_uvs*, void* self, const char*, std::uint16_t, char*,
                                 std::int32_t) {
    return static_cast<int>(++static_cast<Server*>(self)->foreign);
  }

  kiv_box* box = kivx_ThreadBox_create();
  kiv_uvs* handle = kiv_uvs_make();
  std::uint16_t port = 25000;
  std::atomic<std::int64_t> foreign{0}, lost{0};
};

struct Client {
  explicit Client(const Server& server) {
    const auto on_answer = [](kiv_uvc*, void* self) {
      static_cast<Client*>(self)->heard = true;
      return 0;
    };
    const auto on_data = [](kiv_uvc* from, void* argument, char* data, std::int32_t length) {
      auto* const self = static_cast<Client*>(argument);
      if (++self->answers < self->wanted) kiv_uvc_write(from, data, length);
      return 0;
    };
    const auto on_lost = [](kiv_uvc*, void* self) {
      static_cast<Client*>(self)->lost = true;
      return 0;
    };
    kiv_uvc_attach(box, handle, "127.0.0.1", server.port, on_answer, this, on_answer, this, on_data,
                   this, on_lost, this);
    while (!heard) {
    }
  }
  ~Client() {
    kiv_uvc_free(handle);
    kivx_ThreadBox_destroy(box);
  }

  kiv_box* box = kivx_ThreadBox_create();
  kiv_uvc* handle = kiv_uvc_make();
  std::atomic<bool> heard{false}, lost{false};
  std::atomic<std::int64_t> answers{0}, wanted{0};  // the client asks again until it has those
};

// Sixteen at a time, each from an address of its own; the number that were accepted.
int connect_clients(const Server& server, int count) {
  constexpr int kAtOnce = 16;
  const std::string request = std::string{kRequest, 2} + std::string(64, 's');
  int accepted = 0;
  for (int first = 0; first < count; first += kAtOnce) {
    std::array<Plain*, kAtOnce> group;
    for (int i = 0; i < kAtOnce; ++i) {
      group[static_cast<std::size_t>(i)] =
          new Plain(server.port, kAddresses + static_cast<std::uint32_t>(first + i));
      group[static_cast<std::size_t>(i)]->write(request);
    }
    for (Plain* one : group) {
      accepted += one->read();
      delete one;
    }
  }
  return accepted;
}

void connect_many(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  double bytes = 0;
  for (auto _ : state) {
    const Server server;
    const std::size_t before = mallinfo2().uordblks;
    if (connect_clients(server, count) != count) state.SkipWithError("not all were accepted");
    bytes = static_cast<double>(mallinfo2().uordblks - before) / count;
  }
  state.counters["per_client"] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["bytes_per_client"] = bytes;
}

constexpr int kRally = 100;

void round_trip(benchmark::State& state) {
  const Server server;
  Client client(server);
  for (auto _ : state) {
    client.wanted = client.answers + kRally;
    kiv_uvc_write(client.handle, "12345678", 8);
    while (client.answers < client.wanted) {
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
  }
  state.SetItemsProcessed(state.iterations() * kRally);
}

void round_trip_of_plain_sockets(benchmark::State& state) {
  Plain near(9);
  sockaddr_in here{};
  socklen_t length = sizeof here;
  getsockname(near.id, reinterpret_cast<sockaddr*>(&here), &length);
  Plain far(ntohs(here.sin_port));
  getsockname(far.id, reinterpret_cast<sockaddr*>(&here), &length);
  connect(near.id, reinterpret_cast<const sockaddr*>(&here), sizeof here);
  std::atomic<bool> stopped{false};
  std::thread echo([&] {
    while (!stopped) {
      if (far.read()) far.write("1234567890");
    }
  });
  for (auto _ : state) {
    for (int i = 0; i < kRally; ++i) {
      near.write("1234567890");
      near.read();
    }
  }
  state.SetItemsProcessed(state.iterations() * kRally);
  stopped = true;
  near.write("end");
  echo.join();
}

// Arguments: clients, seconds, is the application told of garbage.
void flood(benchmark::State& state) {
  Server server(state.range(2) != 0);
  connect_clients(server, static_cast<int>(state.range(0)));
  Client client(server);
  std::atomic<bool> stopped{false};
  std::atomic<std::int64_t> poured{0};
  const auto pour = [&](std::uint32_t seed) {
    const Plain from(server.port, kAddresses + 20000 + seed);
    const std::string types[] = {std::string{15, 0, 'x'}, std::string{16, 0}, std::string(66, 'g'),
                                 std::string{14, 0} + std::string(64, 'g')};
    for (std::uint32_t i = 0; !stopped; ++i) {
      from.write(types[i % 4]);
      ++poured;
    }
  };
  for (auto _ : state) {
    std::thread one(pour, 1), two(pour, 2);
    const auto end = Clock::now() + std::chrono::seconds(state.range(1));
    std::int64_t asked = 0;
    for (; Clock::now() < end; ++asked) {
      kiv_uvc_write(client.handle, "12345678", 8);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    stopped = true;
    one.join();
    two.join();
    state.counters["asked"] = static_cast<double>(asked);
    state.counters["answered"] = static_cast<double>(client.answers);
  }
  const double seconds = static_cast<double>(state.range(1));
  state.counters["poured/s"] = static_cast<double>(poured) / seconds;
  state.counters["told/s"] = static_cast<double>(server.foreign) / seconds;
  state.counters["lost_by_server"] = static_cast<double>(server.lost);
  const std::int64_t before = client.answers;
  for (int i = 0; i < 1000 && client.answers == before; ++i) {
    kiv_uvc_write(client.handle, "12345678", 8);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  state.counters["served_after"] = client.answers > before && !client.lost;
}

BENCHMARK(connect_many)
    ->Arg(1008)
    ->Arg(9984)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(round_trip)->UseRealTime();
BENCHMARK(round_trip_of_plain_sockets)->UseRealTime();
BENCHMARK(flood)
    ->Args({9984, 5, 0})
    ->Args({9984, 5, 1})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
