// The lock lies on a byte far after the content, which anyone may read meanwhile.
#include "platform/locked_file.h"

#include <windows.h>

#include "platform/fs.h"
#include "platform/win32/wide_path.h"

namespace kiv::platform {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kLockOffset = 0x7fffffff;
constexpr int kTries = 5;

HANDLE handle_of(LockedFile file) {
  return reinterpret_cast<HANDLE>(file);
}

HANDLE open_file(const wchar_t* path, DWORD access, DWORD disposition) {
  return CreateFileW(path, access, kShareAll, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
}

bool lock(HANDLE file, DWORD kind) {
  OVERLAPPED where{};
  where.Offset = kLockOffset;
  return LockFileEx(file, kind | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &where) != FALSE;
}

bool is_regular(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION known;
  if (GetFileType(file) != FILE_TYPE_DISK || !GetFileInformationByHandle(file, &known))
    return false;
  return (known.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
}

Take take_once(const char* path, LockedFile* file) {
  const Wide wide = wide_path(path);
  if (!wide) return Take::failed;
  const HANDLE opened = open_file(wide.get(), GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
  if (opened == INVALID_HANDLE_VALUE) return Take::failed;
  *file = reinterpret_cast<LockedFile>(opened);
  const bool usable = is_regular(opened);
  // One that was removed before it was locked holds nothing.
  if (usable && lock(opened, LOCKFILE_EXCLUSIVE_LOCK) && leads_to(path, *file)) return Take::taken;
  CloseHandle(opened);
  SetLastError(ERROR_INVALID_PARAMETER);
  return usable ? Take::held : Take::failed;
}

}  // namespace

Take locked_file_take(const char* path, LockedFile* file) noexcept {
  Take result = take_once(path, file);
  // Another's look at whether the file is held takes the lock for an instant.
  for (int i = 1; result == Take::held && i < kTries; ++i) {
    Sleep(2);
    result = take_once(path, file);
  }
  return result;
}

std::int32_t locked_file_read(LockedFile file, char* out, std::size_t size) noexcept {
  DWORD length = 0;
  SetFilePointer(handle_of(file), 0, nullptr, FILE_BEGIN);
  const bool good = ReadFile(handle_of(file), out, static_cast<DWORD>(size), &length, nullptr);
  return good ? static_cast<std::int32_t>(length) : -1;
}

bool locked_file_write(LockedFile file, const char* bytes, std::size_t length) noexcept {
  DWORD written = 0;
  SetFilePointer(handle_of(file), 0, nullptr, FILE_BEGIN);
  return SetEndOfFile(handle_of(file)) &&
         WriteFile(handle_of(file), bytes, static_cast<DWORD>(length), &written, nullptr) &&
         written == length;
}

bool locked_file_remove(LockedFile file, const char* path) noexcept {
  const Wide wide = wide_path(path);
  const bool removed = wide && leads_to(path, file) && DeleteFileW(wide.get());
  CloseHandle(handle_of(file));
  return removed;
}

void locked_file_close(LockedFile file) noexcept {
  CloseHandle(handle_of(file));
}

std::int32_t locked_file_peek(const char* path, char* out, std::size_t size,
                              bool* is_held) noexcept {
  const Wide wide = wide_path(path);
  if (!wide) return -1;
  const HANDLE file = open_file(wide.get(), GENERIC_READ, OPEN_EXISTING);
  if (file == INVALID_HANDLE_VALUE) return -1;
  *is_held = !lock(file, 0);  // closing the file releases it again
  const std::int32_t length = locked_file_read(reinterpret_cast<LockedFile>(file), out, size);
  CloseHandle(file);
  return length;
}

}  // namespace kiv::platform
