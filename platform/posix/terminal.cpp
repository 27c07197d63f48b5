// Signals are caught while the terminal is changed, told through a pipe, which misses none between
// two system calls, and raised again once the terminal is as it was.
#include "platform/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iterator>

namespace kiv::platform {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU};

std::atomic<int> caught{0};
std::atomic<int> wake_up{-1};

extern "C" void on_signal(int signal) {
  const int error = errno;
  caught = signal;
  (void)!write(wake_up, "", 1);
  errno = error;
}

bool stops_only(int signal) {
  return signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
}

// Catches the signals while it lives; ignored ones stay ignored.
class SignalWatch {
 public:
  SignalWatch() {
    if (pipe2(ends_, O_CLOEXEC | O_NONBLOCK) != 0) return;
    wake_up = ends_[1];
    struct sigaction ours {};
    ours.sa_handler = on_signal;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
      sigaction(kSignals[i], nullptr, &old_[i]);
      if (old_[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &ours, nullptr);
    }
  }
  ~SignalWatch() {
    if (!works()) return;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
      sigaction(kSignals[i], &old_[i], nullptr);
    }
    close(ends_[0]);
    close(ends_[1]);
  }
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  bool works() const { return ends_[0] >= 0; }
  int fd() const { return ends_[0]; }

 private:
  int ends_[2] = {-1, -1};
  struct sigaction old_[std::size(kSignals)] = {};
};

class Terminal {
 public:
  Terminal() : fd_(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {}
  ~Terminal() {
    if (fd_ >= 0) close(fd_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  bool is_there() const { return fd_ >= 0; }
  int fd() const { return fd_; }
  bool show(const char* text) const {
    for (std::size_t left = std::strlen(text); left > 0;) {
      const ssize_t written = write(fd_, text, left);
      if (written < 0 && (errno != EINTR || caught != 0)) return false;
      if (written <= 0) continue;
      text += written;
      left -= static_cast<std::size_t>(written);
    }
    return true;
  }

 private:
  int fd_;
};

// The terminal without echo while this lives. What was typed before it goes, as it has been seen.
class Hidden {
 public:
  Hidden(int fd, bool wanted) : fd_(fd), works_(!wanted) {
    if (works_ || tcgetattr(fd, &before_) != 0) return;
    termios hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    works_ = changed_ = tcsetattr(fd, TCSAFLUSH, &hidden) == 0;
  }
  ~Hidden() {
    if (!changed_) return;
    // By now the process may be in the background, where this would stop it.
    sigset_t output, old;
    sigemptyset(&output);
    sigaddset(&output, SIGTTOU);
    pthread_sigmask(SIG_BLOCK, &output, &old);
    while (tcsetattr(fd_, TCSADRAIN, &before_) != 0 && errno == EINTR) continue;
    (void)!write(fd_, "\n", 1);  // the one that the user typed did not show
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
  }
  Hidden(const Hidden&) = delete;
  Hidden& operator=(const Hidden&) = delete;

  bool works() const { return works_; }

 private:
  int fd_;
  bool works_;
  bool changed_ = false;
  termios before_{};
};

// One byte; false when there is none to come: `result` tells why.
bool next_byte(int terminal, int signals, char* byte, Typed* result) {
  for (;;) {
    pollfd both[] = {{terminal, POLLIN, 0}, {signals, POLLIN, 0}};
    const bool ready = poll(both, 2, -1) > 0;
    *result = Typed::interrupted;
    if (caught != 0) return false;
    *result = Typed::ended;
    if (!ready && errno != EINTR) return false;
    const ssize_t got = ready ? read(terminal, byte, 1) : -1;
    if (got > 0) return true;
    if (got == 0 || errno != EINTR) return false;
  }
}

Typed read_line(int terminal, int signals, char* out, std::size_t room) {
  std::size_t length = 0;
  Typed result;
  for (char byte; next_byte(terminal, signals, &byte, &result);) {
    if (byte == '\n') {
      out[length < room ? length : 0] = '\0';
      return length < room ? Typed::line : Typed::too_long;
    }
    if (length < room) out[length++] = byte;
  }
  return result;
}

Typed ask(const char* prompt, bool echo, char* out, std::size_t room) {
  const Terminal terminal;
  if (!terminal.is_there()) return Typed::no_terminal;
  const SignalWatch signals;
  if (!signals.works()) return Typed::no_terminal;
  const Hidden hidden(terminal.fd(), !echo);
  if (!hidden.works()) return caught != 0 ? Typed::interrupted : Typed::no_terminal;
  if (!terminal.show(prompt)) return caught != 0 ? Typed::interrupted : Typed::ended;
  return read_line(terminal.fd(), signals.fd(), out, room);
}

}  // namespace

Typed terminal_read_line(const char* prompt, bool echo, char* out, std::size_t room) noexcept {
  for (;;) {
    caught = 0;
    const Typed result = ask(prompt, echo, out, room);
    const int signal = caught;
    if (signal == 0) return result;
    raise(signal);
    // Stopped, and in the foreground again: the user sees a new prompt.
    if (!stops_only(signal)) return Typed::interrupted;
  }
}

}  // namespace kiv::platform
