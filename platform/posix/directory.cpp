// Directories by descriptor, so that nothing swapped for a link meanwhile leads elsewhere.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/fs.h"
#include "platform/heap.h"
#include "platform/posix/environment.h"
#include "platform/posix/uninterrupted.h"

namespace kiv::platform {

struct Directory {
  DIR* stream;
  const char* last = "";
  Kind last_kind = Kind::none;
};

namespace {

// Takes over the descriptor.
Directory* directory_of(int fd) {
  if (fd < 0) return nullptr;
  void* memory = heap_alloc(sizeof(Directory));
  DIR* stream = memory == nullptr ? nullptr : fdopendir(fd);
  if (stream != nullptr) return new (memory) Directory{stream};
  heap_free(memory);
  close(fd);
  return nullptr;
}

bool is_self_or_parent(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// 1, 0 when it is gone meanwhile, -1 on failure.
int look_at(int directory, const dirent& found, DirectoryEntry* entry) {
  entry->name = found.d_name;
  entry->size = 0;
  if (found.d_type == DT_DIR || found.d_type == DT_LNK) {
    entry->kind = found.d_type == DT_DIR ? Kind::directory : Kind::link;
    return 1;
  }
  struct stat status;
  if (fstatat(directory, found.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : -1;
  }
  const mode_t mode = status.st_mode;
  entry->kind = S_ISREG(mode)   ? Kind::file
                : S_ISDIR(mode) ? Kind::directory
                : S_ISLNK(mode) ? Kind::link
                                : Kind::other;
  if (entry->kind == Kind::file) entry->size = status.st_size;
  return 1;
}

}  // namespace

Directory* open_directory(const char* path, bool follow) noexcept {
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (follow ? 0 : O_NOFOLLOW);
  return directory_of(uninterrupted([&] { return open(path, flags); }));
}

Directory* open_last_entry(Directory* above) noexcept {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;
  return directory_of(
      uninterrupted([&] { return openat(dirfd(above->stream), above->last, kFlags); }));
}

void close_directory(Directory* directory) noexcept {
  if (directory == nullptr) return;
  closedir(directory->stream);
  heap_free(directory);
}

int next_entry(Directory* directory, DirectoryEntry* entry) noexcept {
  for (;;) {
    errno = 0;
    const dirent* found = readdir(directory->stream);
    if (found == nullptr) return errno == 0 ? 0 : -1;
    if (is_self_or_parent(found->d_name)) continue;
    const int looked = look_at(dirfd(directory->stream), *found, entry);
    if (looked < 0) return -1;
    if (looked == 0) continue;
    directory->last = found->d_name;
    directory->last_kind = entry->kind;
    return 1;
  }
}

bool last_entry_is_directory(Directory* directory) noexcept {
  struct stat status;
  const int result =
      fstatat(dirfd(directory->stream), directory->last, &status, AT_SYMLINK_NOFOLLOW);
  return result == 0 ? S_ISDIR(status.st_mode) : errno != ENOENT;
}

bool remove_last_entry(Directory* directory) noexcept {
  const int flags = directory->last_kind == Kind::directory ? AT_REMOVEDIR : 0;
  return unlinkat(dirfd(directory->stream), directory->last, flags) == 0;
}

char* current_directory() noexcept {
  for (std::size_t room = 256;; room *= 2) {
    auto* text = static_cast<char*>(heap_alloc(room));
    if (text == nullptr || getcwd(text, room) != nullptr) return text;
    heap_free(text);
    if (errno != ERANGE) return nullptr;
  }
}

char* temporary_directory() noexcept {
  const EnvironmentLock lock;
  const char* named = std::getenv("TMPDIR");
  FileStatus status;
  const bool usable = named != nullptr && *named == '/' && file_status(named, true, &status) &&
                      status.kind == Kind::directory;
  const char* path = usable ? named : "/tmp";
  const std::size_t size = std::strlen(path) + 1;
  void* text = heap_alloc(size);
  return text == nullptr ? nullptr : static_cast<char*>(std::memcpy(text, path, size));
}

bool set_current_directory(const char* path) noexcept {
  return chdir(path) == 0;
}

bool is_separator(char c) noexcept {
  return c == '/';
}

}  // namespace kiv::platform
