// Files by handle.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "base/owned.h"
#include "kiv_base/system.h"
#include "platform/fs.h"
#include "platform/process.h"
#include "system/file.h"

using namespace kiv;

struct zu_file2 {
  platform::File file;
  bool append;
  bool locked;
  std::int32_t process;  // that has taken the lock
};

namespace {

constexpr int kWriting = ZU_FILE2_WRITE | ZU_FILE2_APPEND;
constexpr int kNeedWriting = ZU_FILE2_CREATE | ZU_FILE2_TRUNCATE | ZU_FILE2_EXCLUSIVE;
constexpr int kModes = ZU_FILE2_READ | kWriting | kNeedWriting;

bool makes_sense(int mode) {
  if ((mode & ~kModes) != 0 || (mode & (ZU_FILE2_READ | kWriting)) == 0) return false;
  if ((mode & kNeedWriting) != 0 && (mode & kWriting) == 0) return false;
  return (mode & ZU_FILE2_EXCLUSIVE) == 0 || (mode & ZU_FILE2_CREATE) != 0;
}

platform::OpenMode open_mode(int mode) {
  return {.read = (mode & ZU_FILE2_READ) != 0,
          .write = (mode & kWriting) != 0,
          .create = (mode & ZU_FILE2_CREATE) != 0,
          .truncate = (mode & ZU_FILE2_TRUNCATE) != 0,
          .append = (mode & ZU_FILE2_APPEND) != 0,
          .exclusive = (mode & ZU_FILE2_EXCLUSIVE) != 0};
}

int take_lock(zu_file2* file, bool wait, const char* function) {
  if (file == nullptr || file->locked) return 0;
  const platform::FileLock lock = platform::lock_file(file->file, wait);
  if (lock == platform::FileLock::unsupported) {
    std::printf("error: no locks on this file system in %s()!\n", function);
  }
  file->locked = lock == platform::FileLock::taken;
  file->process = platform::process_id();
  return file->locked;
}

}  // namespace

zu_file2* KIV_CALL zu_file2_open(const char* path, int mode) KIV_NOEXCEPT {
  if (!system::is_path(path) || !makes_sense(mode)) return nullptr;
  auto made = base::make<zu_file2>();
  if (!made) return nullptr;
  *made = {platform::open_file(path, open_mode(mode)), (mode & ZU_FILE2_APPEND) != 0, false, 0};
  return made->file == platform::kNoFile ? nullptr : made.release();
}

int KIV_CALL zu_file2_close(zu_file2* file) KIV_NOEXCEPT {
  if (file == nullptr) return 0;
  // Windows would give up the lock of a closed file only in its own time.
  zu_file2_unlock(file);
  const bool closed = platform::close_file(file->file);
  base::destroy(file);
  return closed;
}

int64_t KIV_CALL zu_file2_read(zu_file2* file, void* buffer, int64_t size) KIV_NOEXCEPT {
  if (file == nullptr || !system::is_range(buffer, size)) return -1;
  char* at = static_cast<char*>(buffer);
  std::int64_t total = 0;
  while (total < size) {
    const std::int64_t got =
        platform::read_file(file->file, at + total, static_cast<std::size_t>(size - total));
    if (got < 0 && total == 0) return -1;
    if (got <= 0) break;
    total += got;
  }
  return total;
}

int KIV_CALL zu_file2_write(zu_file2* file, const void* bytes, int64_t size) KIV_NOEXCEPT {
  return file != nullptr && system::is_range(bytes, size) &&
         system::write_all(file->file, bytes, size, file->append);
}

int64_t KIV_CALL zu_file2_seek(zu_file2* file, int64_t offset, int from) KIV_NOEXCEPT {
  if (file == nullptr) return -1;
  switch (from) {
    case ZU_FILE2_BEGIN:
      return platform::seek_file(file->file, offset, platform::From::begin);
    case ZU_FILE2_CURRENT:
      return platform::seek_file(file->file, offset, platform::From::current);
    case ZU_FILE2_END:
      return platform::seek_file(file->file, offset, platform::From::end);
    default:
      return -1;
  }
}

int64_t KIV_CALL zu_file2_tell(zu_file2* file) KIV_NOEXCEPT {
  return zu_file2_seek(file, 0, ZU_FILE2_CURRENT);
}

int64_t KIV_CALL zu_file2_GetSize(zu_file2* file) KIV_NOEXCEPT {
  return file == nullptr ? -1 : platform::file_size(file->file);
}

int KIV_CALL zu_file2_truncate(zu_file2* file, int64_t size) KIV_NOEXCEPT {
  return file != nullptr && size >= 0 && platform::resize_file(file->file, size);
}

int KIV_CALL zu_file2_flush(zu_file2* file) KIV_NOEXCEPT {
  return file != nullptr && platform::flush_file(file->file);
}

int KIV_CALL zu_file2_lock(zu_file2* file) KIV_NOEXCEPT {
  return take_lock(file, true, "zu_file2_lock");
}

int KIV_CALL zu_file2_TryLock(zu_file2* file) KIV_NOEXCEPT {
  return take_lock(file, false, "zu_file2_TryLock");
}

int KIV_CALL zu_file2_unlock(zu_file2* file) KIV_NOEXCEPT {
  if (file == nullptr || !file->locked) return 0;
  // A forked process shares the open file, and would give up its parent's lock.
  if (file->process != platform::process_id() || !platform::unlock_file(file->file)) return 0;
  file->locked = false;
  return 1;
}
