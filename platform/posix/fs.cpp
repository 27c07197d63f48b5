// Files by path and by descriptor.
#include "platform/fs.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/posix/uninterrupted.h"

namespace kiv::platform {

namespace {

static_assert(sizeof(off_t) == 8);

constexpr std::size_t kMostAtOnce = 1 << 30;

std::int64_t to_us(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

timespec to_timespec(const std::int64_t* us) {
  if (us == nullptr) return {0, UTIME_OMIT};
  const std::int64_t rest = *us % 1000000;
  const bool borrows = rest < 0;
  return {*us / 1000000 - borrows, static_cast<long>((rest + borrows * 1000000) * 1000)};
}

Kind kind_of_mode(mode_t mode) {
  if (S_ISREG(mode)) return Kind::file;
  if (S_ISDIR(mode)) return Kind::directory;
  return S_ISLNK(mode) ? Kind::link : Kind::other;
}

int descriptor(File file) {
  return static_cast<int>(file);
}

bool is_regular(const char* path) {
  struct stat found;
  return stat(path, &found) == 0 && S_ISREG(found.st_mode);
}

// Opens without waiting for the other end of a pipe or for a device.
int open_at_once(const char* path, int flags) {
  const int fd = uninterrupted([&] { return open(path, flags | O_NONBLOCK, 0666); });
  // Another process's lease, which the system calls in: that does not take long.
  const bool is_leased = fd < 0 && errno == EWOULDBLOCK && is_regular(path);
  return is_leased ? uninterrupted([&] { return open(path, flags, 0666); }) : fd;
}

}  // namespace

bool file_status(const char* path, bool follow, FileStatus* status) noexcept {
  struct stat found;
  if ((follow ? stat(path, &found) : lstat(path, &found)) != 0) return false;
  status->kind = kind_of_mode(found.st_mode);
  status->size = status->kind == Kind::file ? found.st_size : 0;
  status->modified_us = to_us(found.st_mtim);
  status->accessed_us = to_us(found.st_atim);
  return true;
}

bool set_file_times(const char* path, const std::int64_t* modified_us,
                    const std::int64_t* accessed_us) noexcept {
  const timespec times[2] = {to_timespec(accessed_us), to_timespec(modified_us)};
  // With nothing to set, the system would not look whether the path leads anywhere.
  struct stat found;
  if (modified_us == nullptr && accessed_us == nullptr) return stat(path, &found) == 0;
  return utimensat(AT_FDCWD, path, times, 0) == 0;
}

Moved move_file(const char* from, const char* to) noexcept {
  if (rename(from, to) == 0) return Moved::yes;
  return errno == EXDEV ? Moved::other_volume : Moved::no;
}

bool delete_file(const char* path) noexcept {
  return unlink(path) == 0;
}

bool make_directory(const char* path, bool only_for_user) noexcept {
  return mkdir(path, only_for_user ? S_IRWXU : S_IRWXU | S_IRWXG | S_IRWXO) == 0;
}

bool remove_directory(const char* path) noexcept {
  return rmdir(path) == 0;
}

File open_file(const char* path, OpenMode mode) noexcept {
  int flags = O_CLOEXEC | O_NOCTTY | (mode.write ? mode.read ? O_RDWR : O_WRONLY : O_RDONLY);
  if (mode.create) flags |= O_CREAT;
  if (mode.truncate) flags |= O_TRUNC;
  if (mode.append) flags |= O_APPEND;
  if (mode.exclusive) flags |= O_EXCL;
  struct stat found;
  // Some devices act when they are opened.
  if (mode.regular && stat(path, &found) == 0 && !S_ISREG(found.st_mode)) return kNoFile;
  const int fd = open_at_once(path, flags);
  if (fd < 0) return kNoFile;
  const bool known = fstat(fd, &found) == 0;
  if (known && S_ISREG(found.st_mode)) return fd;
  // Reads and writes wait as usual.
  if (known && !mode.regular && !S_ISDIR(found.st_mode) &&
      fcntl(fd, F_SETFL, flags & O_APPEND) == 0) {
    return fd;
  }
  close(fd);
  return kNoFile;
}

bool close_file(File file) noexcept {
  // Interrupted or not, the descriptor is gone; a second close might hit another thread's.
  return close(descriptor(file)) == 0 || errno == EINTR;
}

std::int64_t read_file(File file, void* buffer, std::size_t size) noexcept {
  return uninterrupted([&] { return read(descriptor(file), buffer, std::min(size, kMostAtOnce)); });
}

bool write_file(File file, const void* bytes, std::size_t size, bool) noexcept {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written =
        uninterrupted([&] { return write(descriptor(file), at, std::min(size, kMostAtOnce)); });
    if (written <= 0) return false;
    at += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

std::int64_t seek_file(File file, std::int64_t offset, From from) noexcept {
  const int whence = from == From::begin ? SEEK_SET : from == From::end ? SEEK_END : SEEK_CUR;
  return lseek(descriptor(file), offset, whence);
}

std::int64_t file_size(File file) noexcept {
  struct stat found;
  return fstat(descriptor(file), &found) == 0 ? found.st_size : -1;
}

bool resize_file(File file, std::int64_t size) noexcept {
  return uninterrupted([&] { return ftruncate(descriptor(file), size); }) == 0;
}

bool flush_file(File file) noexcept {
  return uninterrupted([&] { return fsync(descriptor(file)); }) == 0;
}

bool leads_to(const char* path, File file) noexcept {
  struct stat named, opened;
  return lstat(path, &named) == 0 && fstat(descriptor(file), &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

bool is_other_name(const char* path, const char* other) noexcept {
  struct stat one, two;
  return lstat(path, &one) == 0 && lstat(other, &two) == 0 && one.st_nlink > 1 &&
         one.st_dev == two.st_dev && one.st_ino == two.st_ino;
}

// One of flock belongs to the handle, where one of fcntl would be the process's and go with any
// handle of the file that it closes.
FileLock lock_file(File file, bool wait) noexcept {
  const int how = LOCK_EX | (wait ? 0 : LOCK_NB);
  if (uninterrupted([&] { return flock(descriptor(file), how); }) == 0) return FileLock::taken;
  return errno == EWOULDBLOCK ? FileLock::busy : FileLock::unsupported;
}

bool unlock_file(File file) noexcept {
  return uninterrupted([&] { return flock(descriptor(file), LOCK_UN); }) == 0;
}

}  // namespace kiv::platform
