// The large buffers that the reads of all big boxes share.
#pragma once

#include <cstdint>

namespace kiv::event {

inline constexpr std::int32_t kReadBytes = 204800;
inline constexpr std::int32_t kSmallReadBytes = 1024;

// Gives the pool's memory back, at once or when the last buffer comes back. The next read makes a
// new one.
void read_pool_shutdown();

// A buffer of the pool while this object lives, or a small one of its own while the pool has none.
class ReadBuffer {
 public:
  ReadBuffer() = default;
  ~ReadBuffer();
  ReadBuffer(const ReadBuffer&) = delete;
  ReadBuffer& operator=(const ReadBuffer&) = delete;

  // For a caller that holds the lock of the big boxes; before it, the buffer is the small one.
  void take_large_nolock();

  char* data() { return large_ != nullptr ? large_ : small_; }
  std::int32_t size() const { return large_ != nullptr ? kReadBytes : kSmallReadBytes; }

 private:
  char* large_ = nullptr;
  char small_[kSmallReadBytes];
};

}  // namespace kiv::event
