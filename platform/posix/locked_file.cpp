#include "platform/locked_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/fs.h"

namespace kiv::platform {

namespace {

constexpr mode_t kReadable = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr int kTries = 100;

// The lock belongs to the open file, not to the process as the older kind does, which any close of
// the file would lose.
struct flock whole_file() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

bool is_regular(int fd) {
  struct stat opened;
  if (fstat(fd, &opened) != 0) return false;
  if (!S_ISREG(opened.st_mode)) errno = EINVAL;
  return S_ISREG(opened.st_mode);
}

// Closing leaves the reason of a failure as it is.
void close_quietly(int fd) {
  const int error = errno;
  close(fd);
  errno = error;
}

}  // namespace

Take locked_file_take(const char* path, LockedFile* file) noexcept {
  for (int i = 0; i < kTries; ++i) {
    const int fd =
        open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, kReadable);
    if (fd < 0) return Take::failed;
    struct flock lock = whole_file();
    const bool locked = is_regular(fd) && fcntl(fd, F_OFD_SETLK, &lock) == 0;
    if (locked && leads_to(path, fd)) {
      *file = fd;
      return Take::taken;
    }
    const bool is_held = errno == EAGAIN || errno == EACCES;
    close_quietly(fd);
    // One that was removed between the two calls holds nothing: again, with a new one.
    if (!locked) return is_held ? Take::held : Take::failed;
  }
  return Take::failed;
}

std::int32_t locked_file_read(LockedFile file, char* out, std::size_t size) noexcept {
  ssize_t length = -1;
  do {
    length = pread(static_cast<int>(file), out, size, 0);
  } while (length < 0 && errno == EINTR);
  return static_cast<std::int32_t>(length);
}

bool locked_file_write(LockedFile file, const char* bytes, std::size_t length) noexcept {
  const int fd = static_cast<int>(file);
  if (ftruncate(fd, 0) != 0) return false;
  for (std::size_t done = 0; done < length;) {
    const ssize_t written = pwrite(fd, bytes + done, length - done, static_cast<off_t>(done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

bool locked_file_remove(LockedFile file, const char* path) noexcept {
  const int fd = static_cast<int>(file);
  // Nobody else takes hold of the file, and so of its path, before it is closed.
  const bool removed = leads_to(path, fd) && unlink(path) == 0;
  close_quietly(fd);
  return removed;
}

void locked_file_close(LockedFile file) noexcept {
  close_quietly(static_cast<int>(file));
}

std::int32_t locked_file_peek(const char* path, char* out, std::size_t size,
                              bool* is_held) noexcept {
  const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) return -1;
  struct flock lock = whole_file();
  *is_held = fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  const std::int32_t length = locked_file_read(fd, out, size);
  close_quietly(fd);
  return length;
}

}  // namespace kiv::platform
