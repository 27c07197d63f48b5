// Directories.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/str.h"
#include "kiv_base/system.h"
#include "platform/fs.h"
#include "platform/random.h"
#include "system/file.h"

using namespace kiv;
using base::RawStorage;
using platform::Directory;
using platform::DirectoryEntry;
using platform::Kind;

namespace {

constexpr int kDeepest = 256;  // each level has a directory open
constexpr int kNames = 16;

static_assert(static_cast<int>(Kind::file) == ZU_DIR1_FILE &&
              static_cast<int>(Kind::directory) == ZU_DIR1_DIRECTORY &&
              static_cast<int>(Kind::link) == ZU_DIR1_LINK &&
              static_cast<int>(Kind::other) == ZU_DIR1_OTHER);

class OpenDirectory {
 public:
  explicit OpenDirectory(Directory* directory) : directory_(directory) {}
  ~OpenDirectory() { platform::close_directory(directory_); }
  OpenDirectory(const OpenDirectory&) = delete;
  OpenDirectory& operator=(const OpenDirectory&) = delete;

  explicit operator bool() const { return directory_ != nullptr; }
  Directory* get() const { return directory_; }

 private:
  Directory* directory_;
};

bool is_directory(const char* path) {
  platform::FileStatus status;
  return platform::file_status(path, true, &status) && status.kind == Kind::directory;
}

// The length of a path without the separators at its end.
std::size_t length_without_separators(const char* path) {
  std::size_t length = std::strlen(path);
  while (length > 0 && platform::is_separator(path[length - 1])) --length;
  return length;
}

// A walk below one path: the name of the entry at hand, and whom to tell.
class Walk {
 public:
  Walk(bool deep, zu_dir1_callback callback, void* argument)
      : deep_(deep), callback_(callback), argument_(argument) {}

  // 1, 0 or -1 as zu_dir1_walk. `length`: of the part of the name that leads here.
  int directory(Directory* directory, std::size_t length, int depth) {
    DirectoryEntry entry;
    for (;;) {
      const int found = platform::next_entry(directory, &entry);
      if (found != 1) return found == 0 ? 1 : -1;
      const int result = one(directory, entry, length, depth);
      if (result != 1) return result;
    }
  }

 private:
  int one(Directory* above, const DirectoryEntry& entry, std::size_t length, int depth) {
    const std::size_t end = length + std::strlen(entry.name);
    if (!make_room(end + 2)) return -1;
    std::memcpy(name_.get() + length, entry.name, end - length + 1);
    if (callback_(argument_, name_.get(), static_cast<int>(entry.kind), entry.size) == 0) return 0;
    if (!deep_ || entry.kind != Kind::directory) return 1;
    if (depth == kDeepest) return -1;
    const OpenDirectory below(platform::open_last_entry(above));
    // One that the callback removed, or put a link for, has nothing to hand out.
    name_[end] = '\0';
    if (!below) return platform::last_entry_is_directory(above) ? -1 : 1;
    name_[end] = '/';
    return directory(below.get(), end + 1, depth + 1);
  }

  bool make_room(std::size_t wanted) {
    if (wanted <= room_) return true;
    const std::size_t larger = wanted * 2;
    if (!name_.resize(larger)) return false;
    room_ = larger;
    return true;
  }

  bool deep_;
  zu_dir1_callback callback_;
  void* argument_;
  RawStorage<char> name_;
  std::size_t room_ = 0;
};

// Removes as much as can be; false when something stays.
bool remove_content(Directory* directory, int depth) {
  DirectoryEntry entry;
  bool all = true;
  for (;;) {
    const int found = platform::next_entry(directory, &entry);
    if (found != 1) return found == 0 && all;
    if (entry.kind == Kind::directory) {
      const OpenDirectory below(depth == kDeepest ? nullptr : platform::open_last_entry(directory));
      // An empty one that nobody may read can be removed all the same.
      if (below) all = remove_content(below.get(), depth + 1) && all;
    }
    all = platform::remove_last_entry(directory) && all;
  }
}

// Takes over a text of the process heap.
char* without_separator(char* path) {
  if (path == nullptr) return nullptr;
  const std::size_t length = length_without_separators(path);
  // The root of a file system or volume is nothing without its own.
  if (length > 0 && path[length - 1] != ':') path[length] = '\0';
  return path;
}

bool has_separator(const char* text) {
  for (; *text != '\0'; ++text) {
    if (platform::is_separator(*text)) return true;
  }
  return false;
}

}  // namespace

int KIV_CALL zu_dir1_IsExist(const char* path) KIV_NOEXCEPT {
  return system::is_path(path) && is_directory(path);
}

int KIV_CALL zu_dir1_make(const char* path) KIV_NOEXCEPT {
  if (!system::is_path(path)) return 0;
  if (platform::make_directory(path, false) || is_directory(path)) return 1;
  RawStorage<char> part = base::copy_text(path);
  if (!part) return 0;
  for (std::size_t i = 1; path[i] != '\0'; ++i) {
    if (!platform::is_separator(path[i])) continue;
    part[i] = '\0';
    // Whether it worked shows at the end; the first parts may name a volume.
    platform::make_directory(part.get(), false);
    part[i] = path[i];
  }
  return platform::make_directory(path, false) || is_directory(path);
}

int KIV_CALL zu_dir1_remove(const char* path) KIV_NOEXCEPT {
  return system::is_path(path) && platform::remove_directory(path);
}

int KIV_CALL zu_dir1_RemoveAll(const char* path) KIV_NOEXCEPT {
  if (!system::is_path(path)) return 0;
  // With a trailing separator, a link would be followed.
  const std::size_t length = length_without_separators(path);
  RawStorage<char> bare = base::copy_text(path);
  if (length == 0 || !bare) return 0;
  bare[length] = '\0';
  const bool dots =
      path[length - 1] == '.' &&
      (length == 1 || platform::is_separator(path[length - 2]) ||
       (path[length - 2] == '.' && (length == 2 || platform::is_separator(path[length - 3]))));
  if (dots) return 0;
  bool emptied = false;
  {
    const OpenDirectory directory(platform::open_directory(bare.get(), false));
    emptied = directory && remove_content(directory.get(), 1);
  }
  return platform::remove_directory(bare.get()) && emptied;
}

int KIV_CALL zu_dir1_walk(const char* path, int deep, zu_dir1_callback callback,
                          void* argument) KIV_NOEXCEPT {
  if (!system::is_path(path) || callback == nullptr) return -1;
  const OpenDirectory directory(platform::open_directory(path, true));
  if (!directory) return -1;
  return Walk(deep != 0, callback, argument).directory(directory.get(), 0, 1);
}

char* KIV_CALL zu_dir1_GetCurrent(void) KIV_NOEXCEPT {
  return platform::current_directory();
}

int KIV_CALL zu_dir1_SetCurrent(const char* path) KIV_NOEXCEPT {
  return system::is_path(path) && platform::set_current_directory(path);
}

char* KIV_CALL zu_dir1_GetTemp(void) KIV_NOEXCEPT {
  return without_separator(platform::temporary_directory());
}

char* KIV_CALL zu_dir1_MakeTemp(const char* prefix) KIV_NOEXCEPT {
  if (prefix == nullptr) prefix = "";
  const RawStorage<char> parent(zu_dir1_GetTemp());
  if (!parent || has_separator(prefix)) return nullptr;
  const std::size_t size = std::strlen(parent.get()) + std::strlen(prefix) + 32;
  auto path = RawStorage<char>::allocate(size);
  for (int i = 0; path && i < kNames; ++i) {
    std::uint32_t random[2];
    if (!platform::random_bytes(random, sizeof random)) return nullptr;
    std::snprintf(path.get(), size, "%s/%s%08x%08x", parent.get(), prefix, random[0], random[1]);
    if (platform::make_directory(path.get(), true)) return path.release();
  }
  return nullptr;
}
