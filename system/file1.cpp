// Files by path.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/owned.h"
#include "kiv_base/system.h"
#include "platform/fs.h"
#include "platform/random.h"
#include "system/file.h"

using namespace kiv;
using base::RawStorage;
using platform::File;
using platform::FileStatus;
using platform::Kind;

namespace {

constexpr std::size_t kCopied = 65536;

struct Bytes {
  const void* start;
  std::int64_t length;
};

bool write_bytes(File file, void* what) {
  const auto* bytes = static_cast<const Bytes*>(what);
  return system::write_all(file, bytes->start, bytes->length, false);
}

// Copies what is left of one file, `what`, to the other.
bool copy_from(File to, void* what) {
  const File from = *static_cast<const File*>(what);
  const auto buffer = RawStorage<char>::allocate(kCopied);
  if (!buffer) return false;
  for (;;) {
    const std::int64_t got = platform::read_file(from, buffer.get(), kCopied);
    if (got <= 0) return got == 0;
    if (!platform::write_file(to, buffer.get(), static_cast<std::size_t>(got), false)) return false;
  }
}

bool copy_file(File from, const char* to, bool as_moved) {
  return platform::replace_filled(to, copy_from, &from, from, as_moved);
}

// As a move does that renaming cannot do. What was copied is deleted, nothing else: two paths of
// different mounts may have led to the one file that the copy has replaced by now.
bool move_across(const char* from, const char* to, const FileStatus& status) {
  if (status.kind != Kind::file) return false;
  const system::OwnedFile source(platform::open_file(from, {.read = true, .regular = true}));
  return source && copy_file(source.get(), to, true) &&
         platform::set_file_times(to, &status.modified_us, &status.accessed_us) &&
         platform::leads_to(from, source.get()) && platform::delete_file(from);
}

bool ends_directory(char c) {
  return platform::is_separator(c) || c == ':';  // of a drive
}

// Moves one of a file's names over another, where the system would leave both. They may be
// spellings of one name, which is then gone from `to` as well once it is away.
bool remove_other_name(const char* from, const char* to) {
  std::size_t directory = std::strlen(from);
  while (directory > 0 && !ends_directory(from[directory - 1])) --directory;
  const auto away = RawStorage<char>::allocate(directory + 32);
  std::uint32_t random[2];
  if (!away || !platform::random_bytes(random, sizeof random)) return false;
  std::memcpy(away.get(), from, directory);
  std::snprintf(away.get() + directory, 32, "moved.%08x%08x", random[0], random[1]);
  if (platform::move_file(from, away.get()) != platform::Moved::yes) return false;
  FileStatus status;
  const bool done = platform::file_status(to, false, &status)
                        ? platform::delete_file(away.get())
                        : platform::move_file(away.get(), to) == platform::Moved::yes;
  if (!done) platform::move_file(away.get(), from);
  return done;
}

}  // namespace

int KIV_CALL zu_file1_IsExist(const char* path) KIV_NOEXCEPT {
  FileStatus status;
  return system::is_path(path) && platform::file_status(path, true, &status) &&
         status.kind != Kind::directory;
}

int64_t KIV_CALL zu_file1_GetSize(const char* path) KIV_NOEXCEPT {
  FileStatus status;
  const bool found = system::is_path(path) && platform::file_status(path, true, &status) &&
                     status.kind == Kind::file;
  return found ? status.size : -1;
}

int KIV_CALL zu_file1_GetTimes(const char* path, int64_t* modified_us,
                               int64_t* accessed_us) KIV_NOEXCEPT {
  FileStatus status;
  if (!system::is_path(path) || !platform::file_status(path, true, &status)) return 0;
  if (modified_us != nullptr) *modified_us = status.modified_us;
  if (accessed_us != nullptr) *accessed_us = status.accessed_us;
  return 1;
}

int KIV_CALL zu_file1_SetTimes(const char* path, const int64_t* modified_us,
                               const int64_t* accessed_us) KIV_NOEXCEPT {
  return system::is_path(path) && platform::set_file_times(path, modified_us, accessed_us);
}

int KIV_CALL zu_file1_Copy(const char* from, const char* to) KIV_NOEXCEPT {
  if (!system::is_path(from) || !system::is_path(to)) return 0;
  const system::OwnedFile source(platform::open_file(from, {.read = true, .regular = true}));
  return source && copy_file(source.get(), to, false);
}

int KIV_CALL zu_file1_Move(const char* from, const char* to) KIV_NOEXCEPT {
  if (!system::is_path(from) || !system::is_path(to)) return 0;
  FileStatus status;
  if (!platform::file_status(from, false, &status) || status.kind == Kind::directory) return 0;
  if (std::strcmp(from, to) != 0 && platform::is_other_name(from, to))
    return remove_other_name(from, to);
  const platform::Moved moved = platform::move_file(from, to);
  return moved == platform::Moved::other_volume ? move_across(from, to, status)
                                                : moved == platform::Moved::yes;
}

int KIV_CALL zu_file1_Delete(const char* path) KIV_NOEXCEPT {
  return system::is_path(path) && platform::delete_file(path);
}

char* KIV_CALL zu_file1_Read(const char* path, int64_t* length) KIV_NOEXCEPT {
  if (!system::is_path(path)) return nullptr;
  std::size_t used = 0;
  RawStorage<char> text = system::read_whole_file(path, false, used);
  if (text && length != nullptr) *length = static_cast<std::int64_t>(used);
  return text.release();
}

int KIV_CALL zu_file1_Write(const char* path, const void* bytes, int64_t length) KIV_NOEXCEPT {
  Bytes all{bytes, length};
  return system::is_path(path) && system::is_range(bytes, length) &&
         platform::replace_filled(path, write_bytes, &all);
}

int KIV_CALL zu_file1_Append(const char* path, const void* bytes, int64_t length) KIV_NOEXCEPT {
  if (!system::is_path(path) || !system::is_range(bytes, length)) return 0;
  system::OwnedFile file(
      platform::open_file(path, {.write = true, .create = true, .append = true, .regular = true}));
  if (!file) return 0;
  const bool written = system::write_all(file.get(), bytes, length, true);
  return file.close() && written;
}
