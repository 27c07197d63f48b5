// Cuts a stream into zero-terminated packets.
#include <algorithm>

#include "base/owned.h"
#include "containers/jitter.h"
#include "protocol/proto.h"

struct kiv_parse_pool {
  kiv::containers::JitterBlock ring;  // packets are cut from here
  kiv::containers::Jitter overflow;   // what arrived while the ring was full, or after such bytes
  std::uint8_t ring_bytes[20497];
};

namespace {

using kiv::protocol::kMaxPacket;

constexpr int32_t kOverflowBlocks = 100000;
constexpr int32_t kPiece = 1024;

enum class Step { again, packet, starved };

void refill_ring(kiv_parse_pool& pool) {
  char piece[kPiece];
  for (;;) {
    const int32_t moved = pool.overflow.take(piece, std::min(kPiece, pool.ring.room()));
    if (moved < 1) return;
    pool.ring.put(piece, moved);
  }
}

Step cut_packet(kiv_parse_pool& pool, void* buffer, int32_t capacity, int32_t* length) {
  int32_t total = 0, zeros = 0;
  refill_ring(pool);
  if (!pool.ring.find_packet(total, zeros)) {
    if (pool.ring.length < kMaxPacket) return Step::starved;
    pool.ring.clear();
    return Step::again;
  }
  const int32_t size = total - zeros + 1;
  if (size == 1 || size > kMaxPacket) {
    pool.ring.drop_oldest(total);
    return Step::again;
  }
  if (size > capacity) {
    // deliberate: skipped without a word, with its front left in the buffer, so that one packet too
    // large for the caller does not stop the stream.
    pool.ring.drop_oldest(total - pool.ring.take(buffer, capacity));
    return Step::again;
  }
  pool.ring.take(buffer, size);
  pool.ring.drop_oldest(zeros - 1);
  *length = size;
  return Step::packet;
}

}  // namespace

kiv_parse_pool* KIV_CALL kiv_parse_pool_malloc(void) KIV_NOEXCEPT {
  auto pool = kiv::base::make<kiv_parse_pool>();
  if (!pool) return nullptr;
  pool->ring.init(pool->ring_bytes, sizeof pool->ring_bytes);
  pool->overflow.init(kiv::protocol::kPacketStorage, kOverflowBlocks, nullptr);
  return pool.release();
}

void KIV_CALL kiv_parse_pool_free(kiv_parse_pool* pool) KIV_NOEXCEPT {
  if (!pool) return;
  pool->overflow.clear();
  kiv::base::destroy(pool);
}

int KIV_CALL kiv_parse_pool_input(kiv_parse_pool* pool, const void* bytes,
                                  int32_t count) KIV_NOEXCEPT {
  if (!pool || count < 0 || (!bytes && count > 0)) return 0;
  if (pool->overflow.length == 0 && pool->ring.put_all(bytes, count)) return 1;
  return count <= pool->overflow.available() && pool->overflow.put_all(bytes, count);
}

int KIV_CALL kiv_parse_pool_get(kiv_parse_pool* pool, void* buffer, int32_t capacity,
                                int32_t* length) KIV_NOEXCEPT {
  int32_t size = 0;
  Step step = pool && buffer ? Step::again : Step::starved;
  while (step == Step::again) step = cut_packet(*pool, buffer, capacity, &size);
  if (length) *length = size;
  return step == Step::packet ? 1 : 0;
}

int32_t KIV_CALL kiv_parse_pool_GetLen(kiv_parse_pool* pool) KIV_NOEXCEPT {
  return pool ? pool->ring.length + pool->overflow.length : 0;
}

int32_t KIV_CALL kiv_parse_pool_GetAvailableLen(kiv_parse_pool* pool) KIV_NOEXCEPT {
  return pool ? pool->ring.room() + pool->overflow.available() : 0;
}
