#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "platform/random.h"

namespace kiv::platform {

namespace {

constexpr std::size_t kMostAtOnce = 1 << 30;  // a write takes a 32-bit count
constexpr int kNames = 16;

bool write_and_close(HANDLE file, const void* bytes, std::size_t length) {
  const char* at = static_cast<const char*>(bytes);
  bool good = true;
  while (good && length > 0) {
    DWORD written = 0;
    const auto part = static_cast<DWORD>(std::min(length, kMostAtOnce));
    good = WriteFile(file, at, part, &written, nullptr) && written > 0;
    at += written;
    length -= written;
  }
  good = good && FlushFileBuffers(file);
  return CloseHandle(file) && good;
}

// Opens a new file beside `path` and writes its name to `name`.
HANDLE open_beside(const char* path, char (&name)[MAX_PATH]) {
  for (int i = 0; i < kNames; ++i) {
    std::uint32_t number = 0;
    random_bytes(&number, sizeof number);
    const int length = std::snprintf(name, sizeof name, "%s.%08x", path, number);
    if (length < 0 || length >= MAX_PATH) return INVALID_HANDLE_VALUE;
    const HANDLE file =
        CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS) return file;
  }
  return INVALID_HANDLE_VALUE;
}

}  // namespace

bool replace_file(const char* path, const void* bytes, std::size_t length) noexcept {
  char beside[MAX_PATH];
  const HANDLE file = open_beside(path, beside);
  if (file == INVALID_HANDLE_VALUE) return false;
  // One rename, which no crash can interrupt; replacing in ways that keep the old file's access
  // rights takes several steps.
  if (write_and_close(file, bytes, length) &&
      MoveFileExA(beside, path, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    return true;
  }
  DeleteFileA(beside);
  return false;
}

}  // namespace kiv::platform
