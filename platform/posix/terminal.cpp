#include "platform/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/posix/terminal_signals.h"

namespace kiv::platform {

namespace {

// Reads and writes of it never wait: waiting is for it and signals together.
class Terminal {
 public:
  Terminal() : fd_(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)) {}
  ~Terminal() {
    if (fd_ >= 0) close(fd_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  bool is_there() const { return fd_ >= 0; }
  int fd() const { return fd_; }

 private:
  int fd_;
};

bool is_temporary(int error) {
  return error == EINTR || error == EAGAIN;
}

// Waits until the terminal may be ready for `event`; false once a signal was caught, or on failure.
bool wait_for(short event, int terminal, int signals) {
  pollfd both[] = {{terminal, event, 0}, {signals, POLLIN, 0}};
  const bool good = poll(both, 2, -1) > 0 || errno == EINTR;
  return good && !SignalWatch::has_caught();
}

bool show(const char* text, int terminal, int signals) {
  for (std::size_t left = std::strlen(text); left > 0;) {
    if (!wait_for(POLLOUT, terminal, signals)) return false;
    const ssize_t written = write(terminal, text, left);
    if (written < 0 && !is_temporary(errno)) return false;
    if (written <= 0) continue;
    text += written;
    left -= static_cast<std::size_t>(written);
  }
  return true;
}

// Returns false if no byte follows.
bool next_byte(int terminal, int signals, char* byte) {
  while (wait_for(POLLIN, terminal, signals)) {
    const ssize_t got = read(terminal, byte, 1);
    if (got >= 0 || !is_temporary(errno)) return got > 0;
  }
  return false;
}

Typed read_line(int terminal, int signals, char* out, std::size_t room) {
  std::size_t length = 0;
  for (char byte; next_byte(terminal, signals, &byte);) {
    if (byte == '\n') {
      out[length < room ? length : 0] = '\0';
      return length < room ? Typed::line : Typed::too_long;
    }
    if (length < room) out[length++] = byte;
  }
  return Typed::ended;
}

Typed ask(const char* prompt, bool echo, char* out, std::size_t room) {
  const Terminal terminal;
  if (!terminal.is_there()) return Typed::no_terminal;
  const SignalWatch signals;
  if (!signals.works()) return Typed::no_terminal;
  const Hidden hidden(terminal.fd(), !echo);
  Typed result = Typed::no_terminal;
  if (hidden.works()) {
    result = show(prompt, terminal.fd(), signals.fd())
                 ? read_line(terminal.fd(), signals.fd(), out, room)
                 : Typed::ended;
  }
  const bool failed = result == Typed::no_terminal || result == Typed::ended;
  return failed && SignalWatch::has_caught() ? Typed::interrupted : result;
}

}  // namespace

Typed terminal_read_line(const char* prompt, bool echo, char* out, std::size_t room) noexcept {
  for (;;) {
    const Typed result = ask(prompt, echo, out, room);
    // Stopped, and in the foreground again: the user sees a new prompt.
    if (result != Typed::interrupted || SignalWatch::has_outlived()) return result;
  }
}

}  // namespace kiv::platform
