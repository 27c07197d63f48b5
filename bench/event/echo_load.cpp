// The load of all echo servers: busy connections among idle ones, in plain epoll, with one 64-byte
// message under way on each. It reads the server's processor time by its process id, and never
// sleeps, so that waking it up is no part of that.
//
//   echo_load PORT SERVER_PID each|waves BUSY IDLE SECONDS
//
// The next message follows each answer, or, in waves, the last answer of all connections.
#include <netinet/tcp.h>
#include <sys/epoll.h>

#include <cstring>
#include <vector>

#include "bench/harness/server.h"

namespace {

constexpr std::size_t kMessageSize = 64;
constexpr int kGroup = 50;  // fewer than any listener's queue holds
constexpr double kWarmUpSeconds = 0.2;

struct Client {
  int socket;
  std::size_t bytes = 0;  // answered while measured
  double last_answer = 0;
  double longest_gap = 0;
};

void say(const Client& client) {
  static const char message[kMessageSize] = {};
  if (send(client.socket, message, sizeof message, MSG_NOSIGNAL) != sizeof message) {
    bench::give_up("send");
  }
}

std::size_t hear(const Client& client) {
  char answer[4096];
  const ssize_t got = recv(client.socket, answer, sizeof answer, 0);
  if (got <= 0) bench::give_up("connection lost");
  return static_cast<std::size_t>(got);
}

// Connects in groups and exchanges a message with each, so that the server has accepted them all
// and the queue of its listener never overflows.
class Connections {
 public:
  explicit Connections(std::uint16_t port) : server_(bench::loopback(port)) {}

  void add(int count, std::vector<Client>& to) {
    for (int i = 0; i < count; ++i) {
      to.push_back({connect_one()});
      say(to.back());
      fresh_.push_back(to.back());
      if (fresh_.size() == kGroup || i == count - 1) greet();
    }
  }

 private:
  int connect_one() const {
    const int id = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(id, reinterpret_cast<const sockaddr*>(&server_), sizeof server_) != 0) {
      bench::give_up("connect");
    }
    const int on = 1;
    const linger reset{1, 0};  // leaves nothing behind at the end
    setsockopt(id, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(id, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    return id;
  }

  void greet() {
    for (const Client& client : fresh_) {
      for (std::size_t bytes = 0; bytes < kMessageSize;) bytes += hear(client);
    }
    fresh_.clear();
  }

  sockaddr_in server_;
  std::vector<Client> fresh_;
};

class Load {
 public:
  Load(std::vector<Client>& clients, bool waves)
      : clients_(clients), waves_(waves), epoll_(epoll_create1(0)) {
    for (std::size_t i = 0; i < clients_.size(); ++i) {
      epoll_event event{};
      event.events = EPOLLIN;
      event.data.u64 = i;
      if (epoll_ctl(epoll_, EPOLL_CTL_ADD, clients_[i].socket, &event) != 0) {
        bench::give_up("epoll");
      }
      say(clients_[i]);
    }
  }

  // Returns the end.
  double run_until(double end) {
    for (;;) {
      epoll_event events[256];
      const int ready = epoll_wait(epoll_, events, 256, 0);
      const double time = bench::now();
      if (time >= end) return time;
      for (int i = 0; i < ready; ++i) serve(clients_[events[i].data.u64], time);
    }
  }

  void begin(double start) {
    for (Client& client : clients_) client = {client.socket, 0, start, 0};
  }

 private:
  void serve(Client& client, double time) {
    client.bytes += hear(client);
    client.longest_gap = std::max(client.longest_gap, time - client.last_answer);
    client.last_answer = time;
    if (!waves_) {
      say(client);
    } else if (++answered_ == clients_.size()) {
      answered_ = 0;
      for (const Client& each : clients_) say(each);
    }
  }

  std::vector<Client>& clients_;
  const bool waves_;
  std::size_t answered_ = 0;
  int epoll_;
};

void report_fairness(const std::vector<Client>& clients, double end) {
  std::vector<double> served;
  double gap = 0;
  for (const Client& client : clients) {
    served.push_back(static_cast<double>(client.bytes / kMessageSize));
    gap = std::max({gap, client.longest_gap, end - client.last_answer});
  }
  std::sort(served.begin(), served.end());
  bench::report("most_over_median", served.back() / std::max(served[served.size() / 2], 1.0));
  bench::report("longest_gap_ms", gap * 1e3);
  std::printf("served");
  constexpr std::size_t kSteps = 20;
  for (std::size_t i = 0; i <= kSteps; ++i) {
    std::printf(" %.0f", served[(served.size() - 1) * i / kSteps]);
  }
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) return 2;
  bench::raise_descriptor_limit();
  const pid_t server = std::atoi(argv[2]);
  const int idle = std::atoi(argv[5]);
  std::vector<Client> busy, silent;
  Connections connections(static_cast<std::uint16_t>(std::atoi(argv[1])));
  connections.add(idle / 2, silent);  // below and above the busy ones
  connections.add(std::atoi(argv[4]), busy);
  connections.add(idle - idle / 2, silent);

  Load load(busy, std::strcmp(argv[3], "waves") == 0);
  const double start = load.run_until(bench::now() + kWarmUpSeconds);
  load.begin(start);
  const double cpu_before = bench::cpu_seconds(server);
  const double end = load.run_until(start + std::atof(argv[6]));
  const double cpu = bench::cpu_seconds(server) - cpu_before;
  double messages = 0;
  for (const Client& client : busy) {
    messages += static_cast<double>(client.bytes) / kMessageSize;
  }
  if (messages == 0) bench::give_up("no answer");
  bench::report("cpu_us", cpu / messages * 1e6);
  bench::report("per_second", messages / (end - start));
  bench::report("server_busy", cpu / (end - start));
  bench::report("start", start);
  bench::report("end", end);
  report_fairness(busy, end);
}
