// Files, directories, mapped files and shared memory (kiv_base/system.h). Paths are UTF-8.
#ifndef KIV_BASE_CPP_FILES_HPP
#define KIV_BASE_CPP_FILES_HPP

#include <cstdint>
#include <optional>

#include "kiv_base/cpp/callback.hpp"
#include "kiv_base/cpp/text.hpp"
#include "kiv_base/system.h"

namespace kiv {

// ---- Files by path: false or -1 where C returns 0 or -1 --------------------------------------

namespace file {

struct Times {
  std::int64_t modified_us = 0, accessed_us = 0;
};
// Returns a newly allocated block with a zero after the bytes; null if the file cannot be read.
struct Content {
  Text text;
  std::int64_t size = 0;

  LongData bytes() const noexcept { return {text.c_str(), size}; }
};

inline bool exists(TextRef path) noexcept {
  return zu_file1_IsExist(path.c_str()) == 1;
}
inline std::int64_t size(TextRef path) noexcept {
  return zu_file1_GetSize(path.c_str());
}
inline std::optional<Times> times(TextRef path) noexcept {
  Times times;
  if (zu_file1_GetTimes(path.c_str(), &times.modified_us, &times.accessed_us) != 1) return {};
  return times;
}
inline bool set_times(TextRef path, const Times& times) noexcept {
  return zu_file1_SetTimes(path.c_str(), &times.modified_us, &times.accessed_us) == 1;
}
inline bool copy(TextRef from, TextRef to) noexcept {
  return zu_file1_Copy(from.c_str(), to.c_str()) == 1;
}
inline bool move(TextRef from, TextRef to) noexcept {
  return zu_file1_Move(from.c_str(), to.c_str()) == 1;
}
inline bool remove(TextRef path) noexcept {
  return zu_file1_Delete(path.c_str()) == 1;
}
inline Content read(TextRef path) noexcept {
  std::int64_t size = 0;
  Text text(zu_file1_Read(path.c_str(), &size));
  return {std::move(text), size};
}
inline bool write(TextRef path, LongData bytes) noexcept {
  return zu_file1_Write(path.c_str(), bytes.data(), bytes.size()) == 1;
}
inline bool append(TextRef path, LongData bytes) noexcept {
  return zu_file1_Append(path.c_str(), bytes.data(), bytes.size()) == 1;
}

}  // namespace file

// ---- Files by handle ----------------------------------------------------------------------------

class FileRef;
inline void close_file(zu_file2* file) noexcept {
  zu_file2_close(file);
}
using File = Owner<FileRef, close_file>;

// The lock is shared by all handles of all processes; std::lock_guard acquires it, but only lock()
// reports that a file system has no locks.
class FileRef : public Ref<zu_file2> {
 public:
  using Ref::Ref;
  // Mode: ZU_FILE2_ bits. Returns null on failure.
  static File open(TextRef path, int mode) noexcept {
    return File(zu_file2_open(path.c_str(), mode));
  }

  // Returns the number of bytes; 0 at the end, -1 on failure.
  std::int64_t read(LongBuffer to) const noexcept {
    return zu_file2_read(object_, to.data(), to.size());
  }
  bool write(LongData bytes) const noexcept {
    return zu_file2_write(object_, bytes.data(), bytes.size()) == 1;
  }
  // Positions and sizes: -1 on failure.
  std::int64_t seek(std::int64_t offset, int from = ZU_FILE2_BEGIN) const noexcept {
    return zu_file2_seek(object_, offset, from);
  }
  std::int64_t tell() const noexcept { return zu_file2_tell(object_); }
  std::int64_t size() const noexcept { return zu_file2_GetSize(object_); }
  bool resize(std::int64_t size) const noexcept { return zu_file2_truncate(object_, size) == 1; }
  bool flush() const noexcept { return zu_file2_flush(object_) == 1; }
  bool lock() const noexcept { return zu_file2_lock(object_) == 1; }
  bool try_lock() const noexcept { return zu_file2_TryLock(object_) == 1; }
  bool unlock() const noexcept { return zu_file2_unlock(object_) == 1; }
};

// Reports what the destructor of a File cannot: false if bytes were lost on closing.
inline bool close(File& file) noexcept {
  return zu_file2_close(file.release()) == 1;
}

// ---- Directories --------------------------------------------------------------------------------

namespace directory {

// Name relative to the directory walked, kind (ZU_DIR1_) and size; returning false stops the walk.
struct EntryKind {
  using Function = zu_dir1_callback;
  using Signature = bool(TextRef, int, std::int64_t);
  template <typename Call>
  static int KIV_CALL call(void* argument, const char* name, int kind, std::int64_t size) noexcept {
    return Call::on(argument, TextRef(name), kind, size) ? 1 : 0;
  }
};

inline bool exists(TextRef path) noexcept {
  return zu_dir1_IsExist(path.c_str()) == 1;
}
inline bool make(TextRef path) noexcept {
  return zu_dir1_make(path.c_str()) == 1;
}
inline bool remove(TextRef path) noexcept {
  return zu_dir1_remove(path.c_str()) == 1;
}
inline bool remove_all(TextRef path) noexcept {
  return zu_dir1_RemoveAll(path.c_str()) == 1;
}
// Returns 1 at the end, 0 if the callback stopped it, -1 on failure.
inline int walk(TextRef path, bool deep, Callback<EntryKind> on_entry) noexcept {
  return zu_dir1_walk(path.c_str(), deep, on_entry.function(), on_entry.argument());
}
// Return newly allocated strings; null on failure.
inline Text current() noexcept {
  return Text(zu_dir1_GetCurrent());
}
inline bool set_current(TextRef path) noexcept {
  return zu_dir1_SetCurrent(path.c_str()) == 1;
}
inline Text temporary() noexcept {
  return Text(zu_dir1_GetTemp());
}
inline Text make_temporary(TextRef prefix = nullptr) noexcept {
  return Text(zu_dir1_MakeTemp(prefix.c_str()));
}

}  // namespace directory

// ---- Mapped files -------------------------------------------------------------------------------

class MappedFileRef;
using MappedFile = Owner<MappedFileRef, zu_file_mapped_close>;

class MappedFileRef : public Ref<zu_file_mapped> {
 public:
  using Ref::Ref;
  // Returns null on failure.
  static MappedFile open(TextRef path, bool writable = false) noexcept {
    return MappedFile(zu_file_mapped_open(path.c_str(), writable));
  }
  void* address() const noexcept { return zu_file_mapped_GetAddress(object_); }
  std::int64_t size() const noexcept { return zu_file_mapped_GetSize(object_); }
  // Returns an empty span for a null file. Valid until resize() or destruction.
  LongData bytes() const noexcept {
    return object_ == nullptr ? LongData() : LongData(address(), size());
  }
  bool flush() const noexcept { return zu_file_mapped_flush(object_) == 1; }
  bool resize(std::int64_t size) const noexcept {
    return zu_file_mapped_resize(object_, size) == 1;
  }
};

// ---- Shared memory ------------------------------------------------------------------------------

class SharedMemoryRef;
using SharedMemory = Owner<SharedMemoryRef, zu_shm_close>;

// The lock is shared by all processes; use it with std::lock_guard.
class SharedMemoryRef : public Ref<zu_shm> {
 public:
  using Ref::Ref;
  // Create: null if the name exists. Open: null if there is none.
  static SharedMemory create(TextRef name, std::int64_t size) noexcept {
    return SharedMemory(zu_shm_create(name.c_str(), size));
  }
  static SharedMemory open(TextRef name) noexcept {
    return SharedMemory(zu_shm_open(name.c_str()));
  }
  static bool remove(TextRef name) noexcept { return zu_shm_remove(name.c_str()) == 1; }

  void* address() const noexcept { return zu_shm_GetAddress(object_); }
  std::int64_t size() const noexcept { return zu_shm_GetSize(object_); }
  bool lock() const noexcept { return zu_shm_lock(object_) == 1; }
  bool try_lock() const noexcept { return zu_shm_TryLock(object_) == 1; }
  bool unlock() const noexcept { return zu_shm_unlock(object_) == 1; }
};

}  // namespace kiv

#endif
