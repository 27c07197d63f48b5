// Datagrams through a virtual connection's server, through ENet's and through a bare loop that
// polls, receives and sends in turn, each in a process of its own, under the same load. The first
// and the last hear the same plain socket, so that their rows differ in the server alone.
//
//   bench_datagrams [SECONDS]
//
// A row for each server, size of the body and manner: one way as fast as the sender can, one echo
// at a time, and 32 of them under way.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/protocol.h"
#ifdef KIV_BENCH_ENET
#include <enet/enet.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;
using Count = std::atomic<std::int64_t>;

constexpr char kData = 15;
constexpr char kRequest = 10;
constexpr std::size_t kHeader = 2;
constexpr int kBuffer = 0x80000;  // that of a virtual connection's socket

[[noreturn]] void give_up(const char* what) {
  std::perror(what);
  std::exit(1);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in made{};
  made.sin_family = AF_INET;
  made.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  made.sin_port = htons(port);
  return made;
}

// On a port of the system's choice for 0.
int open_datagrams(std::uint16_t* port) {
  const int id = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in here = loopback(*port);
  socklen_t size = sizeof here;
  setsockopt(id, SOL_SOCKET, SO_RCVBUF, &kBuffer, sizeof kBuffer);
  if (bind(id, reinterpret_cast<sockaddr*>(&here), size) != 0 ||
      getsockname(id, reinterpret_cast<sockaddr*>(&here), &size) != 0) {
    give_up("socket");
  }
  *port = ntohs(here.sin_port);
  return id;
}

// ---- The servers: each runs until its process is killed ----------------------------------------

struct Job {
  std::uint16_t port;
  bool echo;
  Count* heard;  // below 0 until the server listens
};

void serve_bare(Job job) {
  const int id = open_datagrams(&job.port);
  *job.heard = 0;
  std::uint16_t any = 0, other = 0;  // a box has two more sockets
  pollfd wanted[] = {
      {id, POLLIN, 0}, {open_datagrams(&any), POLLIN, 0}, {open_datagrams(&other), POLLIN, 0}};
  char bytes[10241];
  for (;;) {
    poll(wanted, 3, 1000);
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t got =
        recvfrom(id, bytes, sizeof bytes, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &size);
    if (got <= 0) continue;
    ++*job.heard;
    if (job.echo || bytes[0] == kRequest) {
      sendto(id, bytes, static_cast<std::size_t>(got), 0, reinterpret_cast<sockaddr*>(&from), size);
    }
  }
}

void serve_virtual(Job job) {
  static const auto on_data = [](kiv_uvs* server, void* job_, char* body, std::int32_t length) {
    const auto* const told = static_cast<Job*>(job_);
    ++*told->heard;
    if (!told->echo) return 1;
    return kiv_uvs_write(server, kiv_uvs_GetThisClientId(server), body, length);
  };
  const auto on_connect = [](kiv_uvs* server, void* job_, std::int32_t id, const char*,
                             std::uint16_t) {
    // No close callback: the load sends no keep-alives.
    return kiv_uvs_AcceptClient(server, id, on_data, job_, nullptr, nullptr);
  };
  kiv_Setup();
  kiv_box* const box = kiv_box_new();
  if (kiv_uvs_attach(box, kiv_uvs_make(), job.port, on_connect, nullptr, nullptr, &job) == 0) {
    give_up("server");
  }
  *job.heard = 0;
  kiv_box_loop(box);
}

#ifdef KIV_BENCH_ENET
template <bool Flush>
void serve_enet(Job job) {
  const ENetAddress address = {ENET_HOST_ANY, job.port};
  ENetHost* const host = enet_host_create(&address, 8, 1, 0, 0);
  if (!host) give_up("ENet");
  *job.heard = 0;
  ENetEvent event;
  while (enet_host_service(host, &event, 1000) >= 0) {
    if (event.type != ENET_EVENT_TYPE_RECEIVE) continue;
    ++*job.heard;
    if (!job.echo) {
      enet_packet_destroy(event.packet);
      continue;
    }
    if (enet_peer_send(event.peer, 0, event.packet) < 0) enet_packet_destroy(event.packet);
    if (Flush) enet_host_flush(host);
  }
}
#endif

// ---- The load ----------------------------------------------------------------------------------

// Waits a second at most for an answer.
class PlainLoad {
 public:
  PlainLoad(std::uint16_t port, std::size_t body) : message_(kHeader + body, 'm') {
    std::uint16_t own = 0;
    id_ = open_datagrams(&own);
    const sockaddr_in far = loopback(port);
    const timeval deadline{1, 0};
    setsockopt(id_, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof deadline);
    if (connect(id_, reinterpret_cast<const sockaddr*>(&far), sizeof far) != 0) give_up("connect");
    const std::string request = std::string{kRequest, 2} + std::string(64, 's');
    do {
      (void)!::send(id_, request.data(), request.size(), 0);
    } while (!receive());
    while (recv(id_, message_.data(), message_.size(), MSG_DONTWAIT) > 0) {
    }  // an accept comes five times
    message_ = std::string{kData, 0} + std::string(body, 'm');
  }
  ~PlainLoad() { close(id_); }
  PlainLoad(const PlainLoad&) = delete;
  PlainLoad& operator=(const PlainLoad&) = delete;

  void send() { (void)!::send(id_, message_.data(), message_.size(), 0); }
  bool receive() {
    char bytes[10241];
    return recv(id_, bytes, sizeof bytes, 0) > 0;
  }

 private:
  int id_;
  std::string message_;
};

#ifdef KIV_BENCH_ENET
template <bool Flush>
class ENetLoad {
 public:
  ENetLoad(std::uint16_t port, std::size_t body)
      : body_(body, 'm'), host_(enet_host_create(nullptr, 1, 1, 0, 0)) {
    ENetAddress address = {0, port};
    enet_address_set_host_ip(&address, "127.0.0.1");
    peer_ = enet_host_connect(host_, &address, 1, 0);
    ENetEvent event;
    if (enet_host_service(host_, &event, 5000) <= 0) give_up("ENet connect");
    // Unreliable packets are dropped by choice when round trips grow: not here.
    enet_peer_throttle_configure(peer_, 1000, ENET_PEER_PACKET_THROTTLE_SCALE, 0);
  }
  ~ENetLoad() { enet_host_destroy(host_); }
  ENetLoad(const ENetLoad&) = delete;
  ENetLoad& operator=(const ENetLoad&) = delete;

  void send() {
    enet_peer_send(peer_, 0, enet_packet_create(body_.data(), body_.size(), 0));
    if (Flush) enet_host_flush(host_);
    if (++sent_ % 32 == 0) enet_host_service(host_, nullptr, 0);
  }
  bool receive() {
    ENetEvent event;
    while (enet_host_service(host_, &event, 1000) > 0) {
      if (event.type != ENET_EVENT_TYPE_RECEIVE) continue;
      enet_packet_destroy(event.packet);
      return true;
    }
    return false;
  }

 private:
  std::string body_;
  ENetHost* host_;
  ENetPeer* peer_;
  std::int64_t sent_ = 0;
};
#endif

double cpu_seconds_of(pid_t process) {
  clockid_t clock = 0;
  timespec used{};
  if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0) {
    give_up("processor time");
  }
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

template <typename Load>
void measure(const char* name, void (*serve)(Job), std::size_t body, int under_way,
             double seconds) {
  static auto* const heard = static_cast<Count*>(
      mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  Job job = {0, under_way > 0, heard};
  close(open_datagrams(&job.port));
  *heard = -1;
  const pid_t server = fork();
  if (server == 0) {
    serve(job);
    _exit(0);
  }
  while (*heard < 0) {
    if (waitpid(server, nullptr, WNOHANG) != 0) std::exit(1);
    sched_yield();
  }
  std::int64_t sent = 0;
  double cpu = 0, elapsed = 0, count = 0;
  {
    Load load(job.port, body);
    const double cpu_before = cpu_seconds_of(server);
    const std::int64_t before = *heard;
    const auto start = Clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    for (; sent < under_way; ++sent) load.send();
    while (passed() < seconds) {
      for (int i = 0; i < 16; ++i, ++sent) {
        if (under_way > 0) load.receive();
        load.send();
      }
    }
    elapsed = passed();
    count = static_cast<double>(*heard - before);
    cpu = cpu_seconds_of(server) - cpu_before;
  }
  kill(server, SIGKILL);
  waitpid(server, nullptr, 0);
  std::printf("%-16s %5zu bytes, %2d under way %9.0f/s %6.2f us CPU %5.1f %% heard\n", name, body,
              under_way, count / elapsed, cpu / count * 1e6,
              100 * count / static_cast<double>(sent));
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 2;
#ifdef KIV_BENCH_ENET
  enet_initialize();
#endif
  for (const int under_way : {0, 1, 32}) {
    for (const std::size_t body : {64, 1024}) {
      measure<PlainLoad>("bare loop", serve_bare, body, under_way, seconds);
      measure<PlainLoad>("virtual", serve_virtual, body, under_way, seconds);
#ifdef KIV_BENCH_ENET
      measure<ENetLoad<true>>("ENet, flushed", serve_enet<true>, body, under_way, seconds);
      measure<ENetLoad<false>>("ENet, joined", serve_enet<false>, body, under_way, seconds);
#endif
    }
  }
}
