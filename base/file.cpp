// Whole files at once.
#include <cstdint>
#include <cstdio>

#include "kiv_base/base.h"

int KIV_CALL zu_AppendFile(const char* path, const void* bytes, int32_t length) KIV_NOEXCEPT {
  std::FILE* file = path == nullptr ? nullptr : std::fopen(path, "ab");
  if (file == nullptr) return 0;
  bool complete = true;
  if (bytes != nullptr && length > 0) {
    const auto wanted = static_cast<std::size_t>(length);
    complete = std::fwrite(bytes, 1, wanted, file) == wanted;
  }
  // A full disk may show only when the last bytes leave the buffer.
  return std::fclose(file) == 0 && complete;
}

int KIV_CALL zu_DeleteFile(const char* path) KIV_NOEXCEPT {
  return path == nullptr ? -1 : std::remove(path);
}

int32_t KIV_CALL zu_GetFileContent(const char* path, void* buffer, int32_t maximum) KIV_NOEXCEPT {
  std::FILE* file = path == nullptr || buffer == nullptr ? nullptr : std::fopen(path, "rb");
  if (file == nullptr) return -1;
  const std::size_t wanted = maximum > 0 ? static_cast<std::size_t>(maximum) : 0;
  const std::size_t read = std::fread(buffer, 1, wanted, file);
  // A directory opens on some systems, and only reading from it fails.
  if (wanted == 0) std::fgetc(file);
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  return failed ? -1 : static_cast<int32_t>(read);
}

int KIV_CALL zu_GetTextFileContent(const char* path, char* buffer, int32_t size) KIV_NOEXCEPT {
  if (size < 1) return 0;
  const int32_t length = zu_GetFileContent(path, buffer, size - 1);
  if (length < 0) return 0;
  buffer[length] = '\0';
  return 1;
}
