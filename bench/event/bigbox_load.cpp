// A TCP echo server on a big box and on libevent with the same number of threads, under the same
// load: a number of connections with one 64-byte message under way on each. Every server is a
// process of its own, so that its processor time and memory are its own and descriptors suffice.
//
//   bench_bigbox [SECONDS [THREADS CONNECTIONS]]
//
// A row for each server, number of threads and of connections.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/event.h"
#ifdef KIV_BENCH_LIBEVENT
#include <event2/event.h>
#include <event2/listener.h>
#include <event2/thread.h>
#endif

namespace {

constexpr std::size_t kMessageSize = 64;
constexpr int kListenBacklog = 4096;

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

[[noreturn]] void give_up(const char* what) {
  std::perror(what);
  std::exit(1);
}

int listen_anywhere(std::uint16_t* port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(listener, kListenBacklog) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    give_up("listener");
  }
  *port = ntohs(address.sin_port);
  return listener;
}

// ---- The servers: each runs until its process is killed ----------------------------------------

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
    close(socket);
  }
}

void serve_bigbox(int listener, int threads) {
  kiv_Setup();
  kiv_bigbox* big = kiv_bigbox_make(threads, 50000);
  if (!big || kivx_bigbox_import_ForListen(big, listener, on_accept, nullptr) == 0) {
    give_up("big box");
  }
  for (;;) pause();
}

#ifdef KIV_BENCH_LIBEVENT
void peer_read(evutil_socket_t socket, short, void* registration) {
  char bytes[4096];
  const ssize_t got = recv(socket, bytes, sizeof bytes, 0);
  if (got > 0) {
    if (send(socket, bytes, static_cast<std::size_t>(got), MSG_NOSIGNAL) == got) return;
  } else if (got < 0 && errno == EAGAIN) {
    return;
  }
  event_free(*static_cast<event**>(registration));
  std::free(registration);
  close(socket);
}

struct Peers {
  std::vector<event_base*> bases;
  std::size_t next = 0;
};

void peer_accept(evconnlistener*, evutil_socket_t socket, sockaddr*, int, void* peers_) {
  auto* peers = static_cast<Peers*>(peers_);
  event_base* base = peers->bases[peers->next++ % peers->bases.size()];
  auto** registration = static_cast<event**>(std::malloc(sizeof(event*)));
  *registration = event_new(base, socket, EV_READ | EV_PERSIST, peer_read, registration);
  event_add(*registration, nullptr);
}

void serve_libevent(int listener, int threads) {
  evthread_use_pthreads();
  Peers peers;
  for (int i = 0; i < threads; ++i) {
    peers.bases.push_back(event_base_new());
    std::thread(event_base_loop, peers.bases.back(), EVLOOP_NO_EXIT_ON_EMPTY).detach();
  }
  event_base* master = event_base_new();
  evconnlistener_new(master, peer_accept, &peers, LEV_OPT_LEAVE_SOCKETS_BLOCKING, -1, listener);
  event_base_dispatch(master);
}
#endif

// ---- The load
// ------------------------------------------------------------------------------------

struct Usage {
  double cpu_seconds;
  double resident_bytes;
};

Usage usage_of(pid_t process) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(process));
  unsigned long user = 0;
  unsigned long system = 0;
  long pages = 0;
  std::FILE* file = std::fopen(path, "r");
  if (!file || std::fscanf(file,
                           "%*d (%*[^)]) %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu %*d "
                           "%*d %*d %*d %*d %*d %*u %*u %ld",
                           &user, &system, &pages) != 3) {
    give_up(path);
  }
  std::fclose(file);
  return {static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK)),
          static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE))};
}

class Load {
 public:
  Load(std::uint16_t port, int connections) : epoll_(epoll_create1(0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    for (int i = 0; i < connections; ++i) {
      const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
      if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        give_up("connect");
      }
      const int on = 1;
      setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      epoll_event event{};
      event.events = EPOLLIN;
      event.data.fd = socket;
      epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event);
      sockets_.push_back(socket);
    }
  }
  ~Load() {
    for (const int socket : sockets_) close(socket);
    close(epoll_);
  }

  // One message to everybody, all of them awaited: the server then knows all connections.
  void greet() {
    for (const int socket : sockets_) say(socket);
    std::size_t bytes = 0;
    while (bytes < sockets_.size() * kMessageSize) bytes += hear([](int) {});
  }

  // Messages answered in that time, each answer followed by the next message.
  double run(double seconds) {
    for (const int socket : sockets_) say(socket);
    const auto start = Clock::now();
    std::size_t bytes = 0;
    while (seconds_since(start) < seconds) bytes += hear([](int socket) { say(socket); });
    return static_cast<double>(bytes) / kMessageSize;
  }

 private:
  static void say(int socket) {
    static const char message[kMessageSize] = {};
    if (send(socket, message, sizeof message, MSG_NOSIGNAL) != sizeof message) give_up("send");
  }

  template <typename Then>
  std::size_t hear(Then then) {
    epoll_event events[256];
    const int ready = epoll_wait(epoll_, events, 256, 5000);
    if (ready == 0) give_up("no answer");
    std::size_t bytes = 0;
    for (int i = 0; i < ready; ++i) {
      char answer[4096];
      const ssize_t got = recv(events[i].data.fd, answer, sizeof answer, 0);
      if (got <= 0) give_up("connection lost");
      bytes += static_cast<std::size_t>(got);
      then(events[i].data.fd);
    }
    return bytes;
  }

  int epoll_;
  std::vector<int> sockets_;
};

using Serve = void (*)(int listener, int threads);

void measure(const char* name, Serve serve, int threads, int connections, double seconds) {
  std::uint16_t port = 0;
  const int listener = listen_anywhere(&port);
  const pid_t server = fork();
  if (server == 0) {
    serve(listener, threads);
    _exit(0);
  }
  close(listener);
  double memory = 0;
  double messages = 0;
  double cpu = 0;
  {
    Load(port, 1).greet();
    const double empty = usage_of(server).resident_bytes;
    Load load(port, connections);
    load.greet();
    const Usage before = usage_of(server);
    messages = load.run(seconds);
    cpu = usage_of(server).cpu_seconds - before.cpu_seconds;
    memory = before.resident_bytes - empty;
  }
  kill(server, SIGKILL);
  waitpid(server, nullptr, 0);
  std::printf("%-10s %3d threads %6d connections %9.0f messages/s %6.1f us CPU %8.0f bytes\n", name,
              threads, connections, messages / seconds, cpu / messages * 1e6, memory / connections);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 2;
  const int only_threads = argc > 3 ? std::atoi(argv[2]) : 0;
  const int only_connections = argc > 3 ? std::atoi(argv[3]) : 0;
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  std::printf("%-10s %-11s %-18s %-20s %-13s %s\n", "server", "", "", "", "per message",
              "memory per connection");
  for (const int threads : {1, 4, 16}) {
    for (const int connections : {1, 100, 1000, 10000}) {
      // A box waits for 1022 sockets beside its own two.
      if (connections > threads * 1022) continue;
      if (only_threads > 0 && (threads != only_threads || connections != only_connections))
        continue;
      if (limit.rlim_max < static_cast<rlim_t>(connections) + 100) {
        std::printf("%d connections: the limit of descriptors is %lu\n", connections,
                    static_cast<unsigned long>(limit.rlim_max));
        continue;
      }
      measure("big box", serve_bigbox, threads, connections, seconds);
#ifdef KIV_BENCH_LIBEVENT
      measure("libevent", serve_libevent, threads, connections, seconds);
#endif
    }
  }
}
