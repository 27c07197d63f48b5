// Set-up, locks, logs, and the byte FIFO.
#ifndef KIV_BASE_CPP_RUNTIME_HPP
#define KIV_BASE_CPP_RUNTIME_HPP

#include <cstdint>

#include "kiv_base/base.h"
#include "kiv_base/containers.h"
#include "kiv_base/cpp/text.hpp"

namespace kiv {

// Runs the process-wide services while it is alive: create one first in main(). Destroy it after
// all objects of the library and after all threads that use the library have ended.
class Library {
 public:
  Library() noexcept { kiv_Setup(); }
  ~Library() { kiv_Shutdown(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

// ---- Locks: recursive, usable with std::lock_guard. A null one locks nothing. ----------------

class LockRef;
inline void free_lock(zu_sem* lock) noexcept {
  zu_sem_free(reinterpret_cast<std::uintptr_t>(lock));
}
using Lock = Owner<LockRef, free_lock>;

class LockRef : public Ref<zu_sem> {
 public:
  using Ref::Ref;
  // The value that zu_sem_malloc returns and zu_box_mallocx takes.
  std::uintptr_t handle() const noexcept { return reinterpret_cast<std::uintptr_t>(object_); }
  bool lock() const noexcept { return zu_sem_lock(handle()) == 1; }
  bool unlock() const noexcept { return zu_sem_unlock(handle()) == 1; }

  // Returns null if out of memory.
  static Lock make() noexcept { return Lock(reinterpret_cast<zu_sem*>(zu_sem_malloc())); }
};

// ---- Logs ---------------------------------------------------------------------------------------

class LogRef;
using Log = Owner<LogRef, zu_log_free>;

// Strings are written as they are, up to a NUL: no line end is added, and nothing in them is a
// format. For formats, call zu_log_printf and its variants on get(). False for a null or
// destroyed log.
class LogRef : public Ref<zu_log> {
 public:
  using Ref::Ref;
  bool write(Data text) const noexcept { return put(zu_log_printf, text); }
  bool notice(Data text) const noexcept { return put(zu_log_notice, text); }
  bool warn(Data text) const noexcept { return put(zu_log_warn, text); }
  bool error(Data text) const noexcept { return put(zu_log_error, text); }

  // Appends to the file; returns null if it cannot be opened, or if out of memory.
  static Log open(TextRef path) noexcept { return Log(zu_log_malloc(path.c_str())); }

 private:
  template <typename Print>
  bool put(Print print, Data text) const noexcept {
    // A negative precision would mean none.
    return text.size() >= 0 &&
           print(object_, "%.*s", static_cast<int>(text.size()), text.data()) == 1;
  }
};

// ---- Jitter buffer: a FIFO of bytes -------------------------------------------------------------

class JitterRef;
using Jitter = Owner<JitterRef, zu_jitter_free>;

class JitterRef : public Ref<zu_jitter> {
 public:
  using Ref::Ref;
  // Return the number of bytes removed, stored, copied or discarded; 0 for a null buffer.
  std::int32_t write(Data bytes) const noexcept {
    return zu_jitter_SetData(object_, bytes.data(), bytes.size());
  }
  std::int32_t read(Buffer to) const noexcept {
    return zu_jitter_GetData(object_, to.data(), to.size());
  }
  std::int32_t drop(std::int32_t count) const noexcept {
    return zu_jitter_GetData(object_, nullptr, count);
  }
  std::int32_t peek(Buffer to) const noexcept {
    return zu_jitter_PeekData(object_, to.data(), to.size());
  }
  std::int32_t peek(Buffer to, std::int32_t offset) const noexcept {
    return zu_jitter_PeekDatax(object_, to.data(), offset, to.size());
  }
  std::int32_t size() const noexcept { return zu_jitter_GetLen(object_); }
  std::int32_t room() const noexcept { return zu_jitter_GetAvailableLen(object_); }
  void clear() const noexcept { zu_jitter_empty(object_); }
  void* user_data() const noexcept { return zu_jitter_GetUserData(object_); }
  void set_user_data(void* value) const noexcept { zu_jitter_SetUserData(object_, value); }

  // Returns null if out of memory, or for a size or number below 1.
  static Jitter make() noexcept { return Jitter(zu_jitter_malloc()); }
  static Jitter make(std::int32_t block_size, std::int32_t max_blocks,
                     void* user_data = nullptr) noexcept {
    return Jitter(zu_jitter_mallocx(block_size, max_blocks, user_data));
  }
};

}  // namespace kiv

#endif
