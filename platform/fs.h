// Files and directories. Paths are UTF-8; on Windows what is not is rejected. Nothing prints, and
// what one system cannot do as the other one is said here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kiv::platform {

// ---- By path

enum class Kind { none, file, directory, link, other };

struct FileStatus {
  Kind kind = Kind::none;
  std::int64_t size = 0;  // 0 unless a file
  std::int64_t modified_us = 0;
  std::int64_t accessed_us = 0;
};

// False when nothing is there. Without `follow`, a link is a link.
bool file_status(const char* path, bool follow, FileStatus* status) noexcept;

// A null pointer leaves a time as it is.
bool set_file_times(const char* path, const std::int64_t* modified_us,
                    const std::int64_t* accessed_us) noexcept;

enum class Moved { yes, no, other_volume };
Moved move_file(const char* from, const char* to) noexcept;

bool delete_file(const char* path) noexcept;
bool make_directory(const char* path, bool only_for_user) noexcept;
bool remove_directory(const char* path) noexcept;

// ---- By handle: a descriptor, or a HANDLE

using File = std::intptr_t;
inline constexpr File kNoFile = -1;

struct OpenMode {
  bool read = false;
  bool write = false;
  bool create = false;
  bool truncate = false;
  bool append = false;
  bool exclusive = false;
  bool regular = false;  // fails for pipes, devices and sockets
  bool narrow = false;   // on Windows, the path is in the system's narrow characters, no UTF-8
};

// Fails for directories. Never waits for the other end of a pipe.
File open_file(const char* path, OpenMode mode) noexcept;
bool close_file(File file) noexcept;

// Bytes read, perhaps fewer than there are; 0 at the end, -1 on failure.
std::int64_t read_file(File file, void* buffer, std::size_t size) noexcept;
// All of them. On Windows `append` says how the file was opened.
bool write_file(File file, const void* bytes, std::size_t size, bool append) noexcept;

enum class From { begin, current, end };
std::int64_t seek_file(File file, std::int64_t offset, From from) noexcept;
std::int64_t file_size(File file) noexcept;
bool resize_file(File file, std::int64_t size) noexcept;
bool flush_file(File file) noexcept;

// A lock of the whole file that hinders no reads and writes. The handle does not hold it yet.
enum class FileLock { taken, busy, unsupported };
FileLock lock_file(File file, bool wait) noexcept;
bool unlock_file(File file) noexcept;

// Does the path, links not followed, lead to that file by now?
bool leads_to(const char* path, File file) noexcept;

// Do both paths, links not followed, lead to one file, which has several names? They may be
// spellings of the same name all the same.
bool is_other_name(const char* path, const char* other) noexcept;

// Replaces the content of a file as replace_file does, its path in UTF-8; `fill` writes it. Off
// Windows, a new file gets the access rights of `like`, if given. With `as_moved` it is a new one
// in any case, which takes the place of a link, too, as if `like` were renamed.
using Fill = bool (*)(File file, void* what);
bool replace_filled(const char* path, Fill fill, void* what, File like = kNoFile,
                    bool as_moved = false) noexcept;

// ---- Directories

struct DirectoryEntry {
  const char* name;  // valid until the next one, or the end of the directory
  Kind kind;
  std::int64_t size;
};

// An open directory, from its path or as the last entry of one above; null on failure. Without
// `follow`, and below another, no link leads to it.
struct Directory;
Directory* open_directory(const char* path, bool follow) noexcept;
Directory* open_last_entry(Directory* above) noexcept;
void close_directory(Directory* directory) noexcept;

// 1, 0 at the end, -1 on failure. "." and ".." are omitted.
int next_entry(Directory* directory, DirectoryEntry* entry) noexcept;

// Is it a directory by now? True when that cannot be told.
bool last_entry_is_directory(Directory* directory) noexcept;

// Removes the last entry: an empty directory, or a link itself.
bool remove_last_entry(Directory* directory) noexcept;

// Both give a text for heap_free, or null.
char* current_directory() noexcept;
char* temporary_directory() noexcept;
bool set_current_directory(const char* path) noexcept;

// Does the character part the names of a path?
bool is_separator(char c) noexcept;

}  // namespace kiv::platform
