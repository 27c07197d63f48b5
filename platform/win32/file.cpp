#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>

#include "platform/fs.h"
#include "platform/heap.h"
#include "platform/random.h"
#include "platform/win32/rename.h"
#include "platform/win32/wide_path.h"

namespace kiv::platform {

namespace {

constexpr int kNames = 16;
constexpr std::size_t kSuffix = 10;  // ".01234567" and its end
constexpr std::size_t kKept = 200;   // of a name, in that of the file beside it: both have a limit

struct Bytes {
  const void* start;
  std::size_t length;
};

bool write_bytes(File file, void* what) {
  const auto* bytes = static_cast<const Bytes*>(what);
  return write_file(file, bytes->start, bytes->length, false);
}

// Opens a new file beside `path` and writes its name to `name`.
HANDLE open_beside(const wchar_t* path, wchar_t* name) {
  std::size_t length = 0;
  for (std::size_t i = 0, name_start = 0; path[i] != L'\0'; ++i) {
    if (std::wcschr(L"\\/:", path[i]) != nullptr) name_start = i + 1;
    length = std::min(i, name_start + kKept - 1) + 1;
  }
  std::wmemcpy(name, path, length);
  for (int i = 0; i < kNames; ++i) {
    std::uint32_t number = 0;
    random_bytes(&number, sizeof number);
    name[length] = L'.';
    for (std::size_t digit = 0; digit < 8; ++digit) {
      name[length + 1 + digit] = L"0123456789abcdef"[number >> (4 * digit) & 15];
    }
    name[length + kSuffix - 1] = L'\0';
    const HANDLE file =
        CreateFileW(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS) return file;
  }
  return INVALID_HANDLE_VALUE;
}

bool replace(const Wide& path, Fill fill, void* what) {
  if (!path) return false;
  const Wide beside = Wide::with_room(std::wcslen(path.get()) + kSuffix);
  if (!beside) return false;
  const HANDLE file = open_beside(path.get(), beside.get());
  if (file == INVALID_HANDLE_VALUE) return false;
  // Beside a device lies the device: "con.txt" is the console.
  const bool filled = GetFileType(file) == FILE_TYPE_DISK &&
                      fill(reinterpret_cast<File>(file), what) && FlushFileBuffers(file);
  // One rename, which no crash can interrupt; replacing in ways that keep the old file's access
  // rights takes several steps.
  if (CloseHandle(file) && filled && rename_over(beside.get(), path.get())) return true;
  DeleteFileW(beside.get());
  return false;
}

}  // namespace

bool replace_filled(const char* path, Fill fill, void* what, File, bool) noexcept {
  return replace(wide_path(path), fill, what);
}

bool replace_file(const char* path, const void* bytes, std::size_t length) noexcept {
  Bytes all{bytes, length};
  return replace(narrow_path(path), write_bytes, &all);
}

}  // namespace kiv::platform
