// The jitter buffer: a byte FIFO over a list of blocks, which come and go with the bytes.
//
// A buffer is the public record, so the C functions reach it with a cast.
#pragma once

#include <cstdint>

#include "containers/jitter_block.h"
#include "kiv_base/containers.h"

namespace kiv::containers {

class Jitter : public zu_jitter {
 public:
  static constexpr std::int32_t kDefaultBlockSize = 16384;
  static constexpr std::int32_t kDefaultMaxBlocks = 100000;

  static Jitter* of(zu_jitter* jitter) { return static_cast<Jitter*>(jitter); }

  // Returns false, and leaves the record alone, if a size is less than 1.
  bool init(std::int32_t size, std::int32_t most_blocks, void* user);

  std::int32_t available() const;

  // Appends what there is room and memory for; returns the number of bytes.
  std::int32_t put(const void* source, std::int32_t count) {
    if (last && newest()->put_in_one(source, count, INT32_MAX - length)) {
      length += count;
      return count;
    }
    return put_pieces(source, count);
  }

  // Appends all the bytes or, without room or memory, none.
  bool put_all(const void* source, std::int32_t count);

  // Removes the oldest bytes, copied to `destination` unless it is NULL; returns their number.
  std::int32_t take(void* destination, std::int32_t count) {
    if (blocks && oldest()->take_in_one(destination, count)) {
      length -= count;
      return count;
    }
    return take_pieces(destination, count);
  }

  // Copies `count` bytes from `offset` on, which are stored.
  void copy(void* destination, std::int32_t offset, std::int32_t count) const;

  // Removes all bytes.
  void clear();

 private:
  std::int32_t put_pieces(const void* source, std::int32_t count);
  std::int32_t take_pieces(void* destination, std::int32_t count);
  JitterBlock* newest() const { return static_cast<JitterBlock*>(last->data); }
  JitterBlock* oldest() const { return static_cast<JitterBlock*>(blocks->data); }
  JitterBlock* add_block();
  void drop_block(zu_list* node);
  void drop_newest(std::int32_t count);
};

// Returns a buffer for free_jitter; null if a size is less than 1 or if out of memory.
Jitter* new_jitter(std::int32_t size = Jitter::kDefaultBlockSize,
                   std::int32_t most_blocks = Jitter::kDefaultMaxBlocks, void* user = nullptr);
void free_jitter(zu_jitter* jitter);

}  // namespace kiv::containers
