// Cuts a stream into zero-terminated packets.
#include <algorithm>

#include "base/owned.h"
#include "containers/jitter.h"
#include "protocol/proto.h"

struct kiv_parse_pool {
  zu_jitter_block* ring;  // packets are cut from here
  zu_jitter* overflow;    // what arrived while the ring was full, or after such bytes
};

namespace {

using kiv::protocol::kMaxPacket;
using kiv::protocol::kPacketStorage;

constexpr int32_t kRingSize = 20497;
constexpr int32_t kOverflowBlocks = 100000;
constexpr int32_t kPiece = 1024;

enum class Step { again, packet, starved };

void refill_ring(kiv_parse_pool& pool) {
  char piece[kPiece];
  for (;;) {
    const int32_t room = _zu_jitter_block_GetAvailableLen(pool.ring);
    const int32_t moved = zu_jitter_GetData(pool.overflow, piece, std::min(kPiece, room));
    if (moved < 1) return;
    _zu_jitter_block_SetData(pool.ring, piece, moved);
  }
}

void drop_bytes(kiv_parse_pool& pool, int32_t count) {
  _zu_jitter_block_GetData(pool.ring, nullptr, count);
}

Step cut_packet(kiv_parse_pool& pool, void* buffer, int32_t capacity, int32_t* length) {
  int32_t total = 0, zeros = 0;
  refill_ring(pool);
  if (!_zu_jitter_block_CalPacketLen(pool.ring, &total, &zeros)) {
    if (_zu_jitter_block_GetLen(pool.ring) < kMaxPacket) return Step::starved;
    _zu_jitter_block_reset(pool.ring);
    return Step::again;
  }
  const int32_t size = total - zeros + 1;
  if (size == 1 || size > kMaxPacket) {
    drop_bytes(pool, total);
    return Step::again;
  }
  if (size > capacity) {
    // deliberate: skipped without a word, with its front left in the buffer, so that one packet too
    // large for the caller does not stop the stream.
    drop_bytes(pool, total - _zu_jitter_block_GetData(pool.ring, buffer, capacity));
    return Step::again;
  }
  _zu_jitter_block_GetData(pool.ring, buffer, size);
  drop_bytes(pool, zeros - 1);
  *length = size;
  return Step::packet;
}

}  // namespace

kiv_parse_pool* KIV_CALL kiv_parse_pool_malloc(void) KIV_NOEXCEPT {
  auto pool = kiv::base::make<kiv_parse_pool>();
  if (!pool) return nullptr;
  *pool = {_zu_jitter_block_new(kRingSize),
           zu_jitter_mallocx(kPacketStorage, kOverflowBlocks, nullptr)};
  if (!pool->ring || !pool->overflow) {
    kiv_parse_pool_free(pool.release());
    return nullptr;
  }
  return pool.release();
}

void KIV_CALL kiv_parse_pool_free(kiv_parse_pool* pool) KIV_NOEXCEPT {
  if (!pool) return;
  _zu_jitter_block_free(pool->ring);
  zu_jitter_free(pool->overflow);
  kiv::base::destroy(pool);
}

int KIV_CALL kiv_parse_pool_input(kiv_parse_pool* pool, const void* bytes,
                                  int32_t count) KIV_NOEXCEPT {
  if (!pool || count < 0 || (!bytes && count > 0)) return 0;
  if (zu_jitter_GetLen(pool->overflow) == 0 && _zu_jitter_block_SetData(pool->ring, bytes, count)) {
    return 1;
  }
  return count <= zu_jitter_GetAvailableLen(pool->overflow) &&
                 kiv::containers::Jitter::of(pool->overflow)->put_all(bytes, count)
             ? 1
             : 0;
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
  return pool ? _zu_jitter_block_GetLen(pool->ring) + zu_jitter_GetLen(pool->overflow) : 0;
}

int32_t KIV_CALL kiv_parse_pool_GetAvailableLen(kiv_parse_pool* pool) KIV_NOEXCEPT {
  return pool ? _zu_jitter_block_GetAvailableLen(pool->ring) +
                    zu_jitter_GetAvailableLen(pool->overflow)
              : 0;
}
