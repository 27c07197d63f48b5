#include "platform/posix/terminal_signals.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace kiv::platform {

namespace {

constexpr int kSignals = NSIG;  // of the system, those of real time included

struct sigaction before_watch[kSignals];
std::atomic<int> handlers{0};  // that run now
std::atomic<int> wake_up{-1};
std::atomic<bool> caught{false};
std::atomic<bool> outlived{false};

termios before_hiding;
std::atomic<int> hidden{-1};  // the terminal without echo

bool stops_only(int signal) {
  return signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
}

bool ends_or_stops(int signal) {
  switch (signal) {
    case SIGKILL:
    case SIGSTOP:  // these two cannot be caught
    case SIGCHLD:
    case SIGCONT:
    case SIGURG:
    case SIGWINCH:
      return false;
    default:
      return true;
  }
}

// With SIGTTOU blocked: by now the process may be in the background, where it would be stopped.
void show_again(int terminal) {
  while (tcsetattr(terminal, TCSANOW, &before_hiding) != 0 && errno == EINTR) continue;
}

void end_hiding() {
  const int terminal = hidden.exchange(-1);
  if (terminal < 0) return;
  show_again(terminal);
  (void)!write(terminal, "\n", 1);  // the one that the user typed did not show
}

// On any thread, with all signals blocked. What it was before gets the signal, as it came, when
// this returns; crashes included, which happen anew otherwise.
extern "C" void on_signal(int signal, siginfo_t* info, void*) {
  const int error = errno;
  ++handlers;
  caught = true;
  end_hiding();
  const struct sigaction& before = before_watch[signal];
  sigaction(signal, &before, nullptr);
  if (syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), signal, info) != 0) {
    raise(signal);
  }
  if (before.sa_handler != SIG_DFL) outlived = true;
  (void)!write(wake_up, "", 1);
  --handlers;
  errno = error;
}

bool is_ours(int signal) {
  struct sigaction now {};
  return sigaction(signal, nullptr, &now) == 0 && (now.sa_flags & SA_SIGINFO) != 0 &&
         now.sa_sigaction == on_signal;
}

// The C library reserves some and rejects them.
void watch(int signal) {
  struct sigaction& before = before_watch[signal];
  if (!ends_or_stops(signal) || sigaction(signal, nullptr, &before) != 0) return;
  if (before.sa_handler == SIG_IGN) return;
  struct sigaction ours {};
  ours.sa_sigaction = on_signal;
  // Other threads may rely on system calls that go on; this one's are never in the way, unless the
  // terminal itself refuses the process.
  ours.sa_flags = SA_SIGINFO | SA_ONSTACK | (stops_only(signal) ? 0 : SA_RESTART);
  sigfillset(&ours.sa_mask);
  sigaction(signal, &ours, nullptr);
}

}  // namespace

SignalWatch::SignalWatch() {
  caught = outlived = false;
  if (pipe2(ends_, O_CLOEXEC | O_NONBLOCK) != 0) return;
  wake_up = ends_[1];
  for (int signal = 1; signal < kSignals; ++signal) watch(signal);
}

SignalWatch::~SignalWatch() {
  if (!works()) return;
  // A handler of the program's may have put another one in its own place by now.
  for (int signal = 1; signal < kSignals; ++signal) {
    if (is_ours(signal)) sigaction(signal, &before_watch[signal], nullptr);
  }
  wake_up = -1;
  // On other threads. They wait for nothing.
  while (handlers > 0) sched_yield();
  close(ends_[0]);
  close(ends_[1]);
}

bool SignalWatch::has_caught() {
  return caught;
}
bool SignalWatch::has_outlived() {
  return outlived;
}

Hidden::Hidden(int terminal, bool wanted) : works_(!wanted) {
  if (works_ || tcgetattr(terminal, &before_hiding) != 0) return;
  termios without_echo = before_hiding;
  without_echo.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
  hidden = terminal;
  // At once, where waiting for the output to be through could last until the user lets it go on.
  works_ = tcsetattr(terminal, TCSANOW, &without_echo) == 0;
  // On another thread, a handler may have come too early for that.
  if (works_ && SignalWatch::has_caught()) show_again(terminal);
  if (!works_) hidden = -1;
  if (works_) tcflush(terminal, TCIFLUSH);
}

Hidden::~Hidden() {
  sigset_t output, old;
  sigemptyset(&output);
  sigaddset(&output, SIGTTOU);
  pthread_sigmask(SIG_BLOCK, &output, &old);
  end_hiding();
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
}

}  // namespace kiv::platform
