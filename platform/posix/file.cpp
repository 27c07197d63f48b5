#include "platform/file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "platform/fs.h"
#include "platform/posix/uninterrupted.h"
#include "platform/random.h"

namespace kiv::platform {

namespace {

constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
constexpr mode_t kAsUsual = kPrivate | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;  // less the umask
constexpr char kListName[] = "system.posix_acl_access";
constexpr int kNames = 16;
constexpr int kMostLinks = 40;
constexpr std::size_t kKept = 200;  // of a name, in that of the file beside it: both have a limit

struct Bytes {
  const void* start;
  std::size_t length;
};

bool write_bytes(File file, void* what) {
  const auto* bytes = static_cast<const Bytes*>(what);
  return write_file(file, bytes->start, bytes->length, false);
}

bool fill_and_close(File file, Fill fill, void* what) {
  const bool complete = fill(file, what) && flush_file(file);
  return close_file(file) && complete;
}

// The length of a path without its last name.
std::size_t directory_length(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash == nullptr ? 0 : static_cast<std::size_t>(slash + 1 - path);
}

enum class Link { usual, of_proc, trap };

// A trap is another user's link in a directory that all may write to: the system opens nothing
// through it, but would tell where it leads. One of /proc may lead to what has no path.
Link kind_of_link(char* path, std::size_t directory, const struct stat& link) {
  const char first = std::exchange(path[directory], '\0');
  const char* const above = directory == 0 ? "." : path;
  struct stat status;
  struct statfs system;
  const bool known = stat(above, &status) == 0 && statfs(above, &system) == 0;
  path[directory] = first;
  if (!known) return Link::trap;
  if (system.f_type == PROC_SUPER_MAGIC) return Link::of_proc;
  const bool shared = (status.st_mode & S_ISVTX) != 0 && (status.st_mode & S_IWOTH) != 0;
  const bool own = link.st_uid == geteuid() || link.st_uid == status.st_uid;
  return shared && !own ? Link::trap : Link::usual;
}

// Where a path leads once the links at its end are followed, whether anything is there or not.
bool follow_links(const char* path, char (&target)[PATH_MAX], bool* through_proc) {
  if (std::snprintf(target, sizeof target, "%s", path) >= PATH_MAX) return false;
  for (int i = 0; i < kMostLinks; ++i) {
    struct stat found;
    if (lstat(target, &found) != 0) return errno == ENOENT;
    if (!S_ISLNK(found.st_mode)) return true;
    const std::size_t directory = directory_length(target);
    const Link kind = kind_of_link(target, directory, found);
    if (kind == Link::trap) return false;
    if (kind == Link::of_proc) *through_proc = true;
    char link[PATH_MAX];
    const ssize_t size = readlink(target, link, sizeof link);
    if (size <= 0) return false;
    const auto length = static_cast<std::size_t>(size);
    const std::size_t kept = *link == '/' ? 0 : directory;
    if (kept + length >= sizeof target) return false;
    std::memcpy(target + kept, link, length);
    target[kept + length] = '\0';
  }
  return false;
}

// Opens a new file beside `path` and writes its name to `name`; -1 when there can be none.
int open_beside(const char* path, mode_t mode, char (&name)[PATH_MAX]) {
  const std::size_t directory = directory_length(path);
  const std::size_t kept = directory + strnlen(path + directory, kKept);
  for (int i = 0; i < kNames; ++i) {
    std::uint32_t number = 0;
    random_bytes(&number, sizeof number);
    const int length =
        std::snprintf(name, sizeof name, "%.*s.%08x", static_cast<int>(kept), path, number);
    if (length < 0 || length >= PATH_MAX) return -1;
    const int fd =
        uninterrupted([&] { return open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); });
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// What a file grants beyond its mode. The group's part of the mode is then the limit of that, and
// not what the group may do.
struct AccessList {
  char bytes[4096];
  ssize_t size;  // below 1: none

  // False when it is too long.
  bool is_read(ssize_t result) {
    size = result;
    return result >= 0 || errno != ERANGE;
  }
};

// The group may do no more than all may.
mode_t without_group(mode_t mode) {
  return (mode & ~mode_t{S_IRWXG}) | (mode & S_IRWXO) << 3;
}

bool give_rights(int fd, mode_t mode, const AccessList& list) {
  if (list.size < 1) {
    // The directory may have given the file one. It fails where there is none.
    fremovexattr(fd, kListName);
  } else if (fsetxattr(fd, kListName, list.bytes, static_cast<std::size_t>(list.size), 0) != 0) {
    mode = without_group(mode);
  }
  return fchmod(fd, mode) == 0;
}

// Giving the file to others may be refused: it is then the writer's, as a new one would be.
bool take_over_rights(int fd, const char* path, const struct stat& old) {
  struct stat made;
  AccessList list;
  if (fstat(fd, &made) != 0) return false;
  if (!list.is_read(getxattr(path, kListName, list.bytes, sizeof list.bytes))) return false;
  const bool same_owner = made.st_uid == old.st_uid || fchown(fd, old.st_uid, gid_t(-1)) == 0;
  const bool same_group = made.st_gid == old.st_gid || fchown(fd, uid_t(-1), old.st_gid) == 0;
  mode_t mode = old.st_mode & (same_owner && same_group ? 07777 : 0777);
  if (!same_group) {
    mode = without_group(mode);
    list.size = 0;
  }
  return give_rights(fd, mode, list);
}

bool take_rights_of(int fd, int model) {
  struct stat found;
  AccessList list;
  return fstat(model, &found) == 0 &&
         list.is_read(fgetxattr(model, kListName, list.bytes, sizeof list.bytes)) &&
         give_rights(fd, found.st_mode & 0777, list);
}

// The directory may allow what the file itself forbids. One that has gone meanwhile forbids
// nothing.
bool may_replace(const char* path) {
  return faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0 || errno == ENOENT;
}

bool is_same(const char* path, const struct stat& file) {
  struct stat found;
  return stat(path, &found) == 0 && found.st_dev == file.st_dev && found.st_ino == file.st_ino;
}

}  // namespace

bool replace_filled(const char* path, Fill fill, void* what, File like, bool as_moved) noexcept {
  // What a link leads to is replaced, not the link.
  const char* const given = path;
  char target[PATH_MAX];
  bool through_proc = false;
  if (!as_moved) {
    if (!follow_links(path, target, &through_proc)) return false;
    path = target;
  }
  struct stat old;
  const bool exists = !as_moved && lstat(path, &old) == 0;
  if (exists && (!S_ISREG(old.st_mode) || !may_replace(path))) return false;
  if (through_proc && (!exists || !is_same(given, old))) return false;

  const bool as_model = like != kNoFile && !exists;
  char beside[PATH_MAX];
  const int fd = open_beside(path, exists || as_model ? kPrivate : kAsUsual, beside);
  if (fd < 0) return false;
  const bool ready = as_model ? take_rights_of(fd, static_cast<int>(like))
                              : !exists || take_over_rights(fd, path, old);
  if (fill_and_close(fd, fill, what) && ready && rename(beside, path) == 0) return true;
  unlink(beside);
  return false;
}

bool replace_file(const char* path, const void* bytes, std::size_t length) noexcept {
  Bytes all{bytes, length};
  return replace_filled(path, write_bytes, &all);
}

}  // namespace kiv::platform
