#include "platform/posix/command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "platform/posix/environment.h"

namespace kiv::platform {

namespace {

// 0, or why it does not run.
int spawn(const char* const* arguments, int output, pid_t* process) {
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&files, output, STDERR_FILENO);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  int error;
  {
    const EnvironmentLock lock;
    error = posix_spawnp(process, *arguments, &files, &attributes,
                         const_cast<char* const*>(arguments), environ);
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return error;
}

// To the end, so that the program never waits for room.
void read_all(int fd, char* out, std::size_t room) {
  std::size_t length = 0;
  for (;;) {
    char beyond[256];
    const bool full = length + 1 >= room;
    const ssize_t got =
        full ? read(fd, beyond, sizeof beyond) : read(fd, out + length, room - 1 - length);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    if (!full) length += static_cast<std::size_t>(got);
  }
  out[length] = '\0';
}

}  // namespace

int run_command(const char* const* arguments, char* out, std::size_t room) noexcept {
  *out = '\0';
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  pid_t process = -1;
  const int error = spawn(arguments, ends[1], &process);
  close(ends[1]);
  if (error == 0) {
    read_all(ends[0], out, room);
  } else {
    std::snprintf(out, room, "%s: %s", *arguments, std::strerror(error));
  }
  close(ends[0]);
  int status = -1;
  while (error == 0 && waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return error == 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace kiv::platform
