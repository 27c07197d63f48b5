#include "platform/locked_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/fs.h"
#include "platform/heap.h"
#include "platform/posix/uninterrupted.h"

namespace kiv::platform {

namespace {

constexpr mode_t kReadable = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr int kTries = 100;

// A forked process shares its parent's open files, and with them the locks, which would outlive the
// parent: it closes them at once.
struct Held {
  int fd;  // -1: closed so
  Held* next;
};

pthread_mutex_t all_mutex = PTHREAD_MUTEX_INITIALIZER;
Held* all = nullptr;

void before_fork() {
  pthread_mutex_lock(&all_mutex);
}
void after_fork_in_parent() {
  pthread_mutex_unlock(&all_mutex);
}
void after_fork_in_child() {
  for (Held* held = all; held != nullptr; held = held->next) {
    close(held->fd);
    held->fd = -1;
  }
  all = nullptr;
  pthread_mutex_unlock(&all_mutex);
}

class AllLock {
 public:
  AllLock() { pthread_mutex_lock(&all_mutex); }
  ~AllLock() { pthread_mutex_unlock(&all_mutex); }
  AllLock(const AllLock&) = delete;
  AllLock& operator=(const AllLock&) = delete;
};

Held* held_of(LockedFile file) {
  return reinterpret_cast<Held*>(file);
}

int descriptor(LockedFile file) {
  return held_of(file)->fd;
}

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

std::int32_t read_start(int fd, char* out, std::size_t size) {
  return static_cast<std::int32_t>(uninterrupted([&] { return pread(fd, out, size, 0); }));
}

// Opens the file and locks it as `held`, which is among all from before the lock on: no process is
// forked with it unseen.
Take take_once(const char* path, Held* held) {
  const AllLock lock_of_all;
  constexpr int kHow = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
  const int fd = uninterrupted([&] { return open(path, kHow, kReadable); });
  if (fd < 0) return Take::failed;
  struct flock lock = whole_file();
  if (is_regular(fd) && fcntl(fd, F_OFD_SETLK, &lock) == 0) {
    *held = {fd, all};
    all = held;
    return Take::taken;
  }
  const bool is_held = errno == EAGAIN || errno == EACCES;
  close_quietly(fd);
  return is_held ? Take::held : Take::failed;
}

// Lets go of it; the record may be used again.
void let_go(Held* held) {
  const AllLock lock_of_all;
  if (held->fd < 0) return;
  Held** at = &all;
  while (*at != held) at = &(*at)->next;
  *at = held->next;
  close_quietly(held->fd);
}

Take take_file(const char* path, Held* held) {
  for (int i = 0; i < kTries; ++i) {
    const Take result = take_once(path, held);
    if (result != Take::taken || leads_to(path, held->fd)) return result;
    // One that was removed between the two calls holds nothing: again, with a new one.
    let_go(held);
  }
  return Take::failed;
}

bool follows_forks() {
  static const bool follows =
      pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child) == 0;
  if (!follows) errno = ENOMEM;
  return follows;
}

}  // namespace

Take locked_file_take(const char* path, LockedFile* file) noexcept {
  if (!follows_forks()) return Take::failed;
  auto* held = static_cast<Held*>(heap_alloc(sizeof(Held)));
  if (held == nullptr) {
    errno = ENOMEM;
    return Take::failed;
  }
  const Take result = take_file(path, held);
  if (result != Take::taken) heap_free(held);
  *file = reinterpret_cast<LockedFile>(held);
  return result;
}

std::int32_t locked_file_read(LockedFile file, char* out, std::size_t size) noexcept {
  return read_start(descriptor(file), out, size);
}

bool locked_file_write(LockedFile file, const char* bytes, std::size_t length) noexcept {
  const int fd = descriptor(file);
  if (uninterrupted([&] { return ftruncate(fd, 0); }) != 0) return false;
  for (std::size_t done = 0; done < length;) {
    const ssize_t written = uninterrupted(
        [&] { return pwrite(fd, bytes + done, length - done, static_cast<off_t>(done)); });
    if (written <= 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

bool locked_file_remove(LockedFile file, const char* path) noexcept {
  // Nobody else takes hold of the file, and so of its path, before it is closed.
  const bool removed = leads_to(path, descriptor(file)) && unlink(path) == 0;
  locked_file_close(file);
  return removed;
}

void locked_file_close(LockedFile file) noexcept {
  let_go(held_of(file));
  const int error = errno;
  heap_free(held_of(file));
  errno = error;
}

std::int32_t locked_file_peek(const char* path, char* out, std::size_t size,
                              bool* is_held) noexcept {
  const int fd =
      uninterrupted([&] { return open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY); });
  if (fd < 0) return -1;
  struct flock lock = whole_file();
  *is_held = fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  const std::int32_t length = read_start(fd, out, size);
  close_quietly(fd);
  return length;
}

}  // namespace kiv::platform
