// The large buffers that the reads of all big boxes share.
#pragma once

#include <cstdint>

namespace kiv::event {

// Returns the pool's memory, at once or with the last buffer. The next read creates a new pool.
void read_pool_shutdown();

// A buffer of the pool while this object lives, or a small one of its own while the pool has none.
class ReadBuffer {
 public:
  ReadBuffer();
  ~ReadBuffer();
  ReadBuffer(const ReadBuffer&) = delete;
  ReadBuffer& operator=(const ReadBuffer&) = delete;

  char* data() { return large_ != nullptr ? large_ : small_; }
  std::int32_t size() const { return large_ != nullptr ? kLarge : kSmall; }

 private:
  static constexpr std::int32_t kLarge = 204800;
  static constexpr std::int32_t kSmall = 1024;

  char* large_;
  char small_[kSmall];
};

}  // namespace kiv::event
