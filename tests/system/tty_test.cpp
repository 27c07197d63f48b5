// Names and passwords typed at a terminal, which a pseudo-terminal plays.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/system.h"
#ifdef _WIN32
#include <windows.h>
#else
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

bool fails() {
  char text[8] = "before";
  return zu_TTY_ReadPassword("", text, 8) == 0 && *text == '\0';
}

TEST(Terminal, NoneIsAFailure) {
#ifdef _WIN32
  FreeConsole();
  EXPECT_TRUE(fails());
#else
  EXPECT_EXIT(_exit(setsid() > 0 && fails() ? 0 : 1), testing::ExitedWithCode(0), "");
#endif
}

#ifndef _WIN32

int converse() {
  char text[8] = "before";
  if (zu_TTY_ReadName("1: ", text, 8) != 1 || text != std::string("ann\xc3\xa4")) return 51;
  if (zu_TTY_ReadPassword("2: ", text, 8) != 0 || *text != '\0') return 52;  // too long
  if (zu_TTY_ReadName("3: ", text, 8) != 0 || *text != '\0') return 53;      // Ctrl-D
  if (zu_TTY_ReadPassword("4: ", text, 8) != 1 || text != std::string("secret!")) return 54;
  return zu_TTY_ReadPassword("5: ", text, 8);  // Ctrl-C
}

bool echoes(int terminal) {
  termios modes{};
  return tcgetattr(terminal, &modes) == 0 && (modes.c_lflag & ECHO) != 0;
}

siginfo_t handled;

// Asks for a password with the default for the signal, or a handler.
int ask(int signal, bool handles) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  if (handles) {
    action.sa_sigaction = [](int, siginfo_t* info, void*) { handled = *info; };
    action.sa_flags = SA_SIGINFO | SA_RESTART;
  }
  sigaction(signal, &action, nullptr);
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  char text[8] = "before";
  if (zu_TTY_ReadPassword("", text, 8) != 0 || *text != '\0') return 61;
  const bool as_sent = handled.si_pid == getppid() && handled.si_code == SI_USER;
  return handled.si_signo == signal && as_sent ? 62 : 63;
}

// Sends it the signal, and tells how it ended.
int send(int signal, bool handles) {
  const pid_t process = fork();
  if (process == 0) _exit(ask(signal, handles));
  while (echoes(0)) sched_yield();
  kill(process, signal);
  int state = 0;
  waitpid(process, &state, 0);
  if (!echoes(0)) return 64;
  return WIFSIGNALED(state) ? WTERMSIG(state) : WEXITSTATUS(state);
}

// A shell's part: puts a process that converses in the foreground, and tells how it ended.
int play_shell() {
  signal(SIGTTOU, SIG_IGN);
  const pid_t process = fork();
  if (process == 0) {
    setpgid(0, 0);
    tcsetpgrp(0, getpid());
    signal(SIGTTOU, SIG_DFL);
    _exit(converse());
  }
  for (int state = 0; waitpid(process, &state, WUNTRACED) == process && echoes(0);) {
    if (WIFSIGNALED(state)) return WTERMSIG(state);
    if (WIFEXITED(state)) return WEXITSTATUS(state);
    (void)!write(1, "stopped", 7);
    kill(process, SIGCONT);
  }
  return 50;
}

TEST(Terminal, IsAsItWasWhateverSignalComes) {
  for (const bool handles : {false, true}) {
    for (const int signal :
         {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGALRM, SIGPIPE, SIGUSR1,      SIGUSR2,
          SIGXCPU, SIGXFSZ, SIGIO,   SIGPWR,  SIGPROF, SIGTRAP, SIGVTALRM,    SIGSEGV,
          SIGBUS,  SIGFPE,  SIGILL,  SIGABRT, SIGSYS,  SIGTSTP, SIGRTMIN + 3, SIGRTMAX}) {
      if (signal == SIGTSTP && !handles) continue;  // below
      int master = -1, state = -1;
      const pid_t shell = forkpty(&master, nullptr, nullptr, nullptr);
      if (shell == 0) {
        alarm(60);
        _exit(send(signal, handles));
      }
      waitpid(shell, &state, 0);
      EXPECT_EQ(WEXITSTATUS(state), handles ? 62 : signal) << signal;
      close(master);
    }
  }
}

TEST(Terminal, IsAsItWasWhateverIsTyped) {
  int master = -1;
  const pid_t shell = forkpty(&master, nullptr, nullptr, nullptr);
  if (shell == 0) _exit(play_shell());
  const auto shown_until = [&](const std::string& text) {
    std::string shown;
    pollfd ready{master, POLLIN, 0};
    for (char c; shown.find(text) == std::string::npos && poll(&ready, 1, 20000) > 0;) {
      if (read(master, &c, 1) != 1) break;
      shown += c;
    }
    return shown;
  };
  const auto type = [&](const char* text) { EXPECT_GT(write(master, text, strlen(text)), 0); };
  shown_until("1: ");
  type("ann\xc3\xa4\n");
  EXPECT_EQ(shown_until("2: "), "ann\xc3\xa4\r\n2: ");
  EXPECT_FALSE(echoes(master));
  type("secret!!\n");
  EXPECT_EQ(shown_until("3: "), "\r\n3: ");
  type("\x04");
  shown_until("4: ");
  type("half\x1a");  // Ctrl-Z
  shown_until("stopped");
  shown_until("4: ");
  EXPECT_FALSE(echoes(master));
  type("secret!\n");
  shown_until("5: ");
  type("\x03");
  shown_until("\n");
  int state = -1;
  waitpid(shell, &state, 0);
  EXPECT_TRUE(WIFEXITED(state) && WEXITSTATUS(state) == SIGINT) << state;
  close(master);
}

#endif

}  // namespace
