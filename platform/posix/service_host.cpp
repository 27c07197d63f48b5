// A service's process: signals say what is wanted, and the manager hears of its state by datagrams.
#include <semaphore.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/posix/environment.h"
#include "platform/posix/uninterrupted.h"
#include "platform/service.h"
#include "platform/service_wish.h"

namespace kiv::platform {

namespace {

// ---- What is wanted

ServiceWish wish;
sem_t changes;  // one of the few objects that a signal handler may use; created once

extern "C" void on_service_signal(int signal) {
  const int error = errno;
  wish.ask(signal == SIGUSR1   ? ServiceState::paused
           : signal == SIGUSR2 ? ServiceState::running
                               : ServiceState::stopping);
  sem_post(&changes);
  errno = error;
}

// In the place of the default, which would end a service that does not pause. One that is ignored
// would be in the programs that it starts, too.
extern "C" void on_nothing(int) {}

bool pauses_now = false;

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2};

// Null: the signal stays as it is.
void (*handler_for(int signal, const struct sigaction& old, bool pauses))(int) {
  if ((signal == SIGUSR1 || signal == SIGUSR2) && !pauses) {
    return old.sa_handler == SIG_DFL ? on_nothing : nullptr;
  }
  return signal == SIGHUP && old.sa_handler == SIG_IGN ? nullptr : on_service_signal;
}

class Signals {
 public:
  explicit Signals(bool pauses) {
    struct sigaction ours {};
    ours.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
      sigaction(kSignals[i], nullptr, &old_[i]);
      ours.sa_handler = handler_for(kSignals[i], old_[i], pauses);
      if (ours.sa_handler != nullptr) sigaction(kSignals[i], &ours, nullptr);
    }
  }
  ~Signals() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
      sigaction(kSignals[i], &old_[i], nullptr);
    }
  }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

 private:
  struct sigaction old_[std::size(kSignals)] = {};
};

// ---- The manager

sockaddr_un manager;
socklen_t manager_length = 0;  // 0: none

// A path or, if its first byte is "@", an abstract name.
void find_manager() {
  const EnvironmentLock lock;
  const char* name = std::getenv("NOTIFY_SOCKET");
  manager_length = 0;
  if (name == nullptr || (*name != '/' && *name != '@')) return;
  const std::size_t length = std::strlen(name);
  if (length < 2 || length >= sizeof manager.sun_path) return;
  manager = {};
  manager.sun_family = AF_UNIX;
  std::memcpy(manager.sun_path, name, length);
  if (*name == '@') manager.sun_path[0] = '\0';
  manager_length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
}

void notify(const char* state) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return;
  uninterrupted([&] {
    return sendto(fd, state, std::strlen(state), MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&manager), manager_length);
  });
  close(fd);
}

std::atomic<bool> is_hosting{false};

}  // namespace

bool service_host(const char*, bool pauses, ServiceBody body, void* argument, Why* why) noexcept {
  if (is_hosting.exchange(true)) return why->is("this process is a service already");
  static const int made = sem_init(&changes, 0, 0);
  while (made == 0 && sem_trywait(&changes) == 0) continue;
  wish.begin();
  find_manager();
  pauses_now = pauses;
  bool good;
  {
    const Signals signals(pauses);
    good = body(argument);
  }
  is_hosting = false;
  return good;
}

bool service_has_manager() noexcept {
  return manager_length != 0;
}

void service_report(ServiceState state, bool) noexcept {
  if (manager_length == 0) return;
  // The first "ready" counts; in the text, service_state finds a pause, and service_order whether
  // there can be one.
  if (state == ServiceState::running) {
    notify(pauses_now ? "READY=1\nSTATUS=running" : "READY=1\nSTATUS=running without pauses");
  }
  if (state == ServiceState::paused) notify("STATUS=paused");
  if (state == ServiceState::stopping) notify("STOPPING=1\nSTATUS=stopping");
}

ServiceState service_wait() noexcept {
  while (sem_wait(&changes) != 0 && errno == EINTR) continue;
  return wish.now();
}

void service_end_wait() noexcept {
  wish.end();
  sem_post(&changes);
}

}  // namespace kiv::platform
