// What the families of files share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/owned.h"
#include "platform/fs.h"

namespace kiv::system {

// All bytes of a regular file, and a zero after them; empty when it cannot be read, is 2 GiB or
// longer, or if out of memory. `narrow`: as in platform::OpenMode.
base::RawStorage<char> read_whole_file(const char* path, bool narrow, std::size_t& length);

inline bool is_path(const char* path) {
  return path != nullptr && *path != '\0';
}

// Can there be so many bytes at that address?
inline bool is_range(const void* bytes, std::int64_t length) {
  return length == 0 ||
         (bytes != nullptr && length > 0 &&
          static_cast<std::uint64_t>(length) <= static_cast<std::uint64_t>(PTRDIFF_MAX));
}

inline bool write_all(platform::File file, const void* bytes, std::int64_t length, bool append) {
  return platform::write_file(file, bytes, static_cast<std::size_t>(length), append);
}

// An open file with one owner.
class OwnedFile {
 public:
  explicit OwnedFile(platform::File file) : file_(file) {}
  ~OwnedFile() { close(); }
  OwnedFile(const OwnedFile&) = delete;
  OwnedFile& operator=(const OwnedFile&) = delete;

  explicit operator bool() const { return file_ != platform::kNoFile; }
  platform::File get() const { return file_; }

  [[nodiscard]] platform::File release() {
    const platform::File file = file_;
    file_ = platform::kNoFile;
    return file;
  }

  bool close() { return file_ == platform::kNoFile || platform::close_file(release()); }

 private:
  platform::File file_;
};

}  // namespace kiv::system
