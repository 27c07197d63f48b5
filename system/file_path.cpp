// Files by path.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/owned.h"
#include "kiv_base/system.h"
#include "platform/fs.h"
#include "system/file.h"

using namespace kiv;
using base::Owned;
using platform::File;
using platform::FileStatus;
using platform::Kind;

namespace {

constexpr std::size_t kCopied = 65536;
constexpr std::size_t kFirstRead = 16384;
constexpr std::size_t kLongestRead = INT32_MAX;  // as much as _zu_malloc counts, the zero included

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
  const auto buffer = Owned<char>::allocate(kCopied);
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
  const system::OwnedFile source(platform::open_file(from, {.read = true}));
  return source && copy_file(source.get(), to, true) &&
         platform::set_file_times(to, &status.modified_us, &status.accessed_us) &&
         platform::leads_to(from, source.get()) && platform::delete_file(from);
}

// Room for what the file seems to have and, so that its end shows, a byte more; a size that is not
// to be trusted is only where reading starts.
std::size_t first_room(File file) {
  const std::int64_t size = platform::file_size(file);
  if (size <= 0) return kFirstRead;
  return static_cast<std::size_t>(std::min<std::int64_t>(size, kLongestRead - 2)) + 2;
}

// Makes room for more; false when there can be none, and nothing changed.
bool grow(Owned<char>& text, std::size_t& room) {
  if (room >= kLongestRead) return false;
  const std::size_t larger = std::min(room * 2, kLongestRead);
  auto* moved = static_cast<char*>(_zu_realloc(text.get(), static_cast<std::uint32_t>(larger)));
  if (moved == nullptr) return false;
  (void)text.release();
  text.reset(moved);
  room = larger;
  return true;
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
                     status.kind != Kind::directory;
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
  const system::OwnedFile source(platform::open_file(from, {.read = true}));
  return source && copy_file(source.get(), to, false);
}

int KIV_CALL zu_file1_Move(const char* from, const char* to) KIV_NOEXCEPT {
  if (!system::is_path(from) || !system::is_path(to)) return 0;
  FileStatus status;
  if (!platform::file_status(from, false, &status) || status.kind == Kind::directory) return 0;
  const platform::Moved moved = platform::move_file(from, to);
  return moved == platform::Moved::other_volume ? move_across(from, to, status)
                                                : moved == platform::Moved::yes;
}

int KIV_CALL zu_file1_Delete(const char* path) KIV_NOEXCEPT {
  return system::is_path(path) && platform::delete_file(path);
}

char* KIV_CALL zu_file1_Read(const char* path, int64_t* length) KIV_NOEXCEPT {
  if (!system::is_path(path)) return nullptr;
  const system::OwnedFile file(platform::open_file(path, {.read = true}));
  if (!file) return nullptr;
  std::size_t room = first_room(file.get()), used = 0;
  auto text = Owned<char>::allocate(room);
  if (!text) return nullptr;
  for (;;) {
    const std::int64_t got = platform::read_file(file.get(), text.get() + used, room - used - 1);
    if (got < 0) return nullptr;
    if (got == 0) break;
    used += static_cast<std::size_t>(got);
    if (used + 1 == room && !grow(text, room)) return nullptr;
  }
  text[used] = '\0';
  if (length != nullptr) *length = static_cast<std::int64_t>(used);
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
      platform::open_file(path, {.write = true, .create = true, .append = true}));
  if (!file) return 0;
  const bool written = system::write_all(file.get(), bytes, length, true);
  return file.close() && written;
}
