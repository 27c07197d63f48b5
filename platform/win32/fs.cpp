// Files by path and by handle.
#include "platform/fs.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "platform/win32/rename.h"
#include "platform/win32/reparse.h"
#include "platform/win32/wide_path.h"

namespace kiv::platform {

namespace {

constexpr std::int64_t kFrom1601To1970 = 11644473600 * std::int64_t{1000000};  // in us
constexpr std::size_t kMostAtOnce = 1 << 30;  // a read or write takes a 32-bit count
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Where the byte lies that stands for the whole file in locks: no file reaches it, as Windows keeps
// others from reading and writing what is locked.
constexpr DWORD kLockedByteHigh = 0x40000000;

HANDLE handle_of(File file) {
  return reinterpret_cast<HANDLE>(file);
}

std::int64_t joined(DWORD high, DWORD low) {
  return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
}

std::int64_t to_us(const FILETIME& time) {
  return joined(time.dwHighDateTime, time.dwLowDateTime) / 10 - kFrom1601To1970;
}

// Anything at a path, for its data about it.
HANDLE open_any(const Wide& path, DWORD access, DWORD flags = 0) {
  if (!path) return INVALID_HANDLE_VALUE;
  return CreateFileW(path.get(), access, kShareAll, nullptr, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
}

template <typename Found>
void set_status(const Found& found, FileStatus* status) {
  status->kind = found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? Kind::directory : Kind::file;
  status->size = status->kind == Kind::file ? joined(found.nFileSizeHigh, found.nFileSizeLow) : 0;
  status->modified_us = to_us(found.ftLastWriteTime);
  status->accessed_us = to_us(found.ftLastAccessTime);
}

// What Windows refuses only for being read-only is tried again without that.
template <typename Call>
bool even_if_read_only(const wchar_t* path, Call call) {
  if (call(path)) return true;
  const DWORD error = GetLastError();
  const DWORD attributes = GetFileAttributesW(path);
  if (error != ERROR_ACCESS_DENIED || attributes == INVALID_FILE_ATTRIBUTES ||
      !(attributes & FILE_ATTRIBUTE_READONLY) ||
      !SetFileAttributesW(path, attributes & ~DWORD{FILE_ATTRIBUTE_READONLY})) {
    SetLastError(error);
    return false;
  }
  if (call(path)) return true;
  SetFileAttributesW(path, attributes);
  return false;
}

bool to_file_time(const std::int64_t* us, FILETIME* time) {
  if (us == nullptr) return true;
  if (*us <= -kFrom1601To1970 || *us > INT64_MAX / 10 - kFrom1601To1970) return false;
  const auto ticks = static_cast<std::uint64_t>((*us + kFrom1601To1970) * 10);
  *time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  return true;
}

DWORD disposition(const OpenMode& mode) {
  if (mode.create && mode.exclusive) return CREATE_NEW;
  if (mode.create) return OPEN_ALWAYS;
  return OPEN_EXISTING;
}

bool is_regular(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION known;
  return GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &known);
}

// What is at the path itself; false when nothing is.
bool look_at(const char* path, BY_HANDLE_FILE_INFORMATION* found) {
  const HANDLE file = open_any(wide_path(path), FILE_READ_ATTRIBUTES, FILE_FLAG_OPEN_REPARSE_POINT);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool known = GetFileInformationByHandle(file, found);
  CloseHandle(file);
  return known;
}

bool is_same(const BY_HANDLE_FILE_INFORMATION& one, const BY_HANDLE_FILE_INFORMATION& other) {
  return one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
         one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

OVERLAPPED locked_byte() {
  OVERLAPPED where{};
  where.OffsetHigh = kLockedByteHigh;
  return where;
}

}  // namespace

bool is_link(const wchar_t* path, std::uint32_t attributes) noexcept {
  if (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) return false;
  WIN32_FIND_DATAW found;
  const HANDLE find = FindFirstFileW(path, &found);
  if (find == INVALID_HANDLE_VALUE) return true;
  FindClose(find);
  return is_link_tag(found.dwReserved0);
}

bool remove_found(const wchar_t* path, std::uint32_t attributes) noexcept {
  const bool directory = attributes & FILE_ATTRIBUTE_DIRECTORY;
  return even_if_read_only(path, [=](const wchar_t* name) {
    return (directory ? RemoveDirectoryW(name) : DeleteFileW(name)) != 0;
  });
}

bool file_status(const char* path, bool follow, FileStatus* status) noexcept {
  const Wide wide = wide_path(path);
  if (!follow && wide) {
    const DWORD attributes = GetFileAttributesW(wide.get());
    if (attributes != INVALID_FILE_ATTRIBUTES && is_link(wide.get(), attributes)) {
      *status = {};
      status->kind = Kind::link;
      return true;
    }
  }
  const HANDLE file = open_any(wide, FILE_READ_ATTRIBUTES);
  if (file == INVALID_HANDLE_VALUE) return false;
  *status = {};
  status->kind = Kind::other;
  BY_HANDLE_FILE_INFORMATION found;
  const bool good = GetFileType(file) != FILE_TYPE_DISK || GetFileInformationByHandle(file, &found);
  if (good && GetFileType(file) == FILE_TYPE_DISK) set_status(found, status);
  CloseHandle(file);
  return good;
}

bool set_file_times(const char* path, const std::int64_t* modified_us,
                    const std::int64_t* accessed_us) noexcept {
  FILETIME modified, accessed;
  if (!to_file_time(modified_us, &modified) || !to_file_time(accessed_us, &accessed)) return false;
  const HANDLE file = open_any(wide_path(path), FILE_WRITE_ATTRIBUTES);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool set = SetFileTime(file, nullptr, accessed_us == nullptr ? nullptr : &accessed,
                               modified_us == nullptr ? nullptr : &modified);
  CloseHandle(file);
  return set;
}

Moved move_file(const char* from, const char* to) noexcept {
  const Wide wide_from = wide_path(from), wide_to = wide_path(to);
  if (!wide_from || !wide_to) return Moved::no;
  if (rename_over(wide_from.get(), wide_to.get())) return Moved::yes;
  return GetLastError() == ERROR_NOT_SAME_DEVICE ? Moved::other_volume : Moved::no;
}

bool delete_file(const char* path) noexcept {
  const Wide wide = wide_path(path);
  const DWORD attributes = wide ? GetFileAttributesW(wide.get()) : INVALID_FILE_ATTRIBUTES;
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  const bool directory = attributes & FILE_ATTRIBUTE_DIRECTORY;
  return (!directory || is_link(wide.get(), attributes)) && remove_found(wide.get(), attributes);
}

bool make_directory(const char* path, bool) noexcept {
  const Wide wide = wide_path(path);
  return wide && CreateDirectoryW(wide.get(), nullptr);
}

bool remove_directory(const char* path) noexcept {
  const Wide wide = wide_path(path);
  const DWORD attributes = wide ? GetFileAttributesW(wide.get()) : INVALID_FILE_ATTRIBUTES;
  return attributes != INVALID_FILE_ATTRIBUTES && attributes & FILE_ATTRIBUTE_DIRECTORY &&
         !is_link(wide.get(), attributes) && remove_found(wide.get(), attributes);
}

File open_file(const char* path, OpenMode mode) noexcept {
  const Wide wide = mode.narrow ? narrow_path(path) : wide_path(path);
  if (!wide) return kNoFile;
  const DWORD access = (mode.read ? GENERIC_READ : 0) | (mode.write ? GENERIC_WRITE : 0);
  // A new file is not made through a link that leads to nothing.
  const DWORD flags = mode.exclusive ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
  const HANDLE file = CreateFileW(wide.get(), access, kShareAll, nullptr, disposition(mode),
                                  FILE_ATTRIBUTE_NORMAL | flags, nullptr);
  if (file == INVALID_HANDLE_VALUE) return kNoFile;
  const auto opened = reinterpret_cast<File>(file);
  // Emptied afterwards: the disposition that empties refuses hidden files, and one that was only
  // just made is empty anyway.
  const bool usable = !mode.regular || is_regular(file);
  if (usable && (!mode.truncate || resize_file(opened, 0))) return opened;
  CloseHandle(file);
  return kNoFile;
}

bool close_file(File file) noexcept {
  return CloseHandle(handle_of(file));
}

std::int64_t read_file(File file, void* buffer, std::size_t size) noexcept {
  DWORD got = 0;
  if (ReadFile(handle_of(file), buffer, static_cast<DWORD>(std::min(size, kMostAtOnce)), &got,
               nullptr)) {
    return got;
  }
  const DWORD error = GetLastError();
  return error == ERROR_HANDLE_EOF || error == ERROR_BROKEN_PIPE ? 0 : -1;
}

bool write_file(File file, const void* bytes, std::size_t size, bool append) noexcept {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xffffffff;
    DWORD written = 0;
    if (!WriteFile(handle_of(file), at, static_cast<DWORD>(std::min(size, kMostAtOnce)), &written,
                   append ? &end : nullptr) ||
        written == 0) {
      return false;
    }
    at += written;
    size -= written;
  }
  return true;
}

std::int64_t seek_file(File file, std::int64_t offset, From from) noexcept {
  const DWORD method = from == From::begin ? FILE_BEGIN
                       : from == From::end ? FILE_END
                                           : FILE_CURRENT;
  LARGE_INTEGER wanted, reached;
  wanted.QuadPart = offset;
  return SetFilePointerEx(handle_of(file), wanted, &reached, method) ? reached.QuadPart : -1;
}

std::int64_t file_size(File file) noexcept {
  LARGE_INTEGER size;
  return GetFileSizeEx(handle_of(file), &size) ? size.QuadPart : -1;
}

bool resize_file(File file, std::int64_t size) noexcept {
  // Leaves the position alone, which SetEndOfFile does not.
  FILE_END_OF_FILE_INFO end;
  end.EndOfFile.QuadPart = size;
  return SetFileInformationByHandle(handle_of(file), FileEndOfFileInfo, &end, sizeof end);
}

bool flush_file(File file) noexcept {
  return FlushFileBuffers(handle_of(file));
}

bool leads_to(const char* path, File file) noexcept {
  BY_HANDLE_FILE_INFORMATION named, opened;
  return look_at(path, &named) && GetFileInformationByHandle(handle_of(file), &opened) &&
         is_same(named, opened);
}

bool is_other_name(const char* path, const char* other) noexcept {
  BY_HANDLE_FILE_INFORMATION one, two;
  return look_at(path, &one) && look_at(other, &two) && one.nNumberOfLinks > 1 && is_same(one, two);
}

FileLock lock_file(File file, bool wait) noexcept {
  OVERLAPPED where = locked_byte();
  const DWORD how = LOCKFILE_EXCLUSIVE_LOCK | (wait ? 0 : LOCKFILE_FAIL_IMMEDIATELY);
  if (LockFileEx(handle_of(file), how, 0, 1, 0, &where)) return FileLock::taken;
  const DWORD error = GetLastError();
  return error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING ? FileLock::busy
                                                                    : FileLock::unsupported;
}

bool unlock_file(File file) noexcept {
  OVERLAPPED where = locked_byte();
  return UnlockFileEx(handle_of(file), 0, 1, 0, &where);
}

}  // namespace kiv::platform
