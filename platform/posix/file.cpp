#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "platform/random.h"

namespace kiv::platform {

namespace {

constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
constexpr mode_t kAsUsual = kPrivate | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;  // less the umask
constexpr int kNames = 16;

// Writes and closes; with `to_disk`, waits until the disk has it.
bool write_and_close(int fd, const void* bytes, std::size_t length, bool to_disk) {
  const char* at = static_cast<const char*>(bytes);
  while (length > 0) {
    const ssize_t written = write(fd, at, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) break;
    at += written;
    length -= static_cast<std::size_t>(written);
  }
  const bool complete = length == 0 && (!to_disk || fsync(fd) == 0);
  return close(fd) == 0 && complete;
}

// Opens a new file beside `path` and writes its name to `name`; -1 when there can be none.
int open_beside(const char* path, mode_t mode, char (&name)[PATH_MAX]) {
  for (int i = 0; i < kNames; ++i) {
    std::uint32_t number = 0;
    random_bytes(&number, sizeof number);
    const int length = std::snprintf(name, sizeof name, "%s.%08x", path, number);
    if (length < 0 || length >= PATH_MAX) return -1;
    const int fd = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

bool take_over_rights(int fd, const struct stat& old) {
  struct stat made;
  if (fstat(fd, &made) != 0) return false;
  // Giving the file to another owner may be refused; it is then the writer's, as a new one would
  // be.
  const bool other_owner = made.st_uid != old.st_uid || made.st_gid != old.st_gid;
  const bool keeps_owner = !other_owner || fchown(fd, old.st_uid, old.st_gid) == 0;
  const mode_t rights = old.st_mode & (keeps_owner ? 07777 : 0777);
  return fchmod(fd, rights) == 0;
}

}  // namespace

bool replace_file(const char* path, const void* bytes, std::size_t length) noexcept {
  struct stat old;
  const bool exists = stat(path, &old) == 0;
  struct stat link;
  const bool dangles = !exists && lstat(path, &link) == 0;
  if (dangles || (exists && !S_ISREG(old.st_mode))) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kAsUsual);
    return fd >= 0 && write_and_close(fd, bytes, length, false);
  }

  // What a link leads to is replaced, not the link.
  char target[PATH_MAX];
  if (exists) {
    // The directory may allow what the file itself forbids.
    if (faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return false;
    path = realpath(path, target);
    if (path == nullptr) return false;
  }

  char beside[PATH_MAX];
  const int fd = open_beside(path, exists ? kPrivate : kAsUsual, beside);
  if (fd < 0) return false;
  const bool ready = !exists || take_over_rights(fd, old);
  if (write_and_close(fd, bytes, length, true) && ready && rename(beside, path) == 0) return true;
  unlink(beside);
  return false;
}

}  // namespace kiv::platform
