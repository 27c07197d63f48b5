#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "platform/fs.h"
#include "platform/random.h"

namespace kiv::platform {

namespace {

constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
constexpr mode_t kAsUsual = kPrivate | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;  // less the umask
constexpr int kNames = 16;

struct Bytes {
  const void* start;
  std::size_t length;
};

bool write_bytes(File file, void* what) {
  const auto* bytes = static_cast<const Bytes*>(what);
  return write_file(file, bytes->start, bytes->length, false);
}

bool fill_and_close(int fd, Fill fill, void* what, bool to_disk) {
  const bool complete = fill(fd, what) && (!to_disk || fsync(fd) == 0);
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

bool replace_filled(const char* path, Fill fill, void* what, File like, bool rights_move) noexcept {
  struct stat old;
  const bool exists = stat(path, &old) == 0;
  struct stat link;
  const bool dangles = !exists && lstat(path, &link) == 0;
  if (dangles || (exists && !S_ISREG(old.st_mode))) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kAsUsual);
    return fd >= 0 && fill_and_close(fd, fill, what, false);
  }

  // What a link leads to is replaced, not the link.
  char target[PATH_MAX];
  if (exists) {
    // The directory may allow what the file itself forbids.
    if (faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return false;
    path = realpath(path, target);
    if (path == nullptr) return false;
  }

  const bool as_model = like != kNoFile && (!exists || rights_move);
  struct stat model;
  if (as_model && fstat(static_cast<int>(like), &model) != 0) return false;

  char beside[PATH_MAX];
  const int fd = open_beside(path, exists || as_model ? kPrivate : kAsUsual, beside);
  if (fd < 0) return false;
  const bool ready =
      as_model ? fchmod(fd, model.st_mode & 0777) == 0 : !exists || take_over_rights(fd, old);
  if (fill_and_close(fd, fill, what, true) && ready && rename(beside, path) == 0) return true;
  unlink(beside);
  return false;
}

bool replace_file(const char* path, const void* bytes, std::size_t length) noexcept {
  Bytes all{bytes, length};
  return replace_filled(path, write_bytes, &all);
}

}  // namespace kiv::platform
