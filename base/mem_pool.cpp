// The memory pool: next-fit over one region of the caller.
//
// Region: six 32-bit words (base, length, cursor, header size, offsets of the used flag and of the
// previous size), then the block area. A block is a packed header (size, used flag, size of the
// block before) and its payload; the blocks tile the area. Everything is read and written with
// memcpy, and positions are 64-bit, so that no forged size wraps round.
//
// deliberate: nothing is aligned, payloads neither; regions are sized for 9 bytes a header.
#include "base/mem_pool.h"

#include <cstdio>
#include <cstring>

#include "kiv_base/base.h"

namespace kiv::base {
namespace {

constexpr std::uint32_t kControlBytes = 24;
constexpr std::uint32_t kHeaderBytes = 9;
constexpr std::uint32_t kUsedAt = 4;
constexpr std::uint32_t kPrevSizeAt = 5;
constexpr std::uint32_t kMinRegion = kControlBytes + kHeaderBytes + 1;

enum Word { kBase, kLength, kCursor, kHeaderSize, kUsedFlagOffset, kPrevSizeOffset };

std::uint32_t load(const unsigned char* at) {
  std::uint32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

void store(unsigned char* at, std::uint64_t value) {
  const auto word = static_cast<std::uint32_t>(value);
  std::memcpy(at, &word, sizeof word);
}

// A live pool, its control record read once.
class Pool {
 public:
  explicit Pool(void* handle) : record_(static_cast<unsigned char*>(handle)) {
    if (record_ == nullptr || word(kBase) == 0) return;
    area_ = base_address();
    length_ = word(kLength);
    header_ = word(kHeaderSize);
    used_at_ = word(kUsedFlagOffset);
    prev_at_ = word(kPrevSizeOffset);
    end_ = length_ - header_;
  }

  static void* format(void* region, std::uint32_t size);

  explicit operator bool() const { return area_ != nullptr; }
  std::uint64_t length() const { return length_; }
  std::uint64_t header() const { return header_; }
  // No block starts here or later.
  std::uint64_t end() const { return end_; }

  std::uint64_t cursor() const { return word(kCursor); }
  void set_cursor(std::uint64_t block) { store(record_ + 4 * kCursor, block); }

  std::uint64_t size(std::uint64_t block) const { return load(area_ + block); }
  std::uint64_t prev_size(std::uint64_t block) const { return load(area_ + block + prev_at_); }
  std::uint64_t next(std::uint64_t block) const { return block + header_ + size(block); }
  bool is_used(std::uint64_t block) const { return area_[block + used_at_] == 1; }
  bool is_free(std::uint64_t block) const { return area_[block + used_at_] == 0; }
  unsigned char* payload(std::uint64_t block) const { return area_ + block + header_; }

  bool holds(const void* payload, std::uint64_t* block) const;
  bool is_whole(std::uint64_t block) const;
  bool lands_on(std::uint64_t block) const;

  unsigned char* allocate(std::uint64_t count);
  void release(std::uint64_t block);

 private:
  std::uint32_t word(Word index) const { return load(record_ + 4 * index); }
  unsigned char* base_address() const;

  unsigned char* search(std::uint64_t from, std::uint64_t limit, std::uint64_t count);
  void split(std::uint64_t block, std::uint64_t count);
  void grow(std::uint64_t block, std::uint64_t size);
  void set_used(std::uint64_t block, bool used) { area_[block + used_at_] = used ? 1 : 0; }

  unsigned char* record_;
  unsigned char* area_ = nullptr;
  std::uint64_t length_ = 0;
  std::uint64_t header_ = 0;
  std::uint64_t used_at_ = 0;
  std::uint64_t prev_at_ = 0;
  std::uint64_t end_ = 0;
};

// The first word is the area's address where an address fits it. Elsewhere it is the area's
// distance from the handle, which is as good a sign of life.
unsigned char* Pool::base_address() const {
  if constexpr (sizeof(void*) == sizeof(std::uint32_t)) {
    return reinterpret_cast<unsigned char*>(static_cast<std::uintptr_t>(word(kBase)));
  } else {
    return record_ + word(kBase);
  }
}

void* Pool::format(void* region, std::uint32_t size) {
  auto* record = static_cast<unsigned char*>(region);
  unsigned char* area = record + kControlBytes;
  store(area, size - kControlBytes - kHeaderBytes);
  area[kUsedAt] = 0;
  store(area + kPrevSizeAt, 0);

  constexpr bool kHoldsAddress = sizeof(void*) == sizeof(std::uint32_t);
  const std::uintptr_t base =
      kHoldsAddress ? reinterpret_cast<std::uintptr_t>(area) : kControlBytes;
  store(record + 4 * kBase, base);
  store(record + 4 * kLength, size - kControlBytes);
  store(record + 4 * kCursor, 0);
  store(record + 4 * kHeaderSize, kHeaderBytes);
  store(record + 4 * kUsedFlagOffset, kUsedAt);
  store(record + 4 * kPrevSizeOffset, kPrevSizeAt);
  return region;
}

unsigned char* Pool::allocate(std::uint64_t count) {
  if (count == 0 || count > end_) return nullptr;
  const std::uint64_t start = cursor();
  unsigned char* found = search(start, end_, count);
  if (found == nullptr) found = search(0, start, count);
  if (found == nullptr) set_cursor(0);
  return found;
}

// First fit among the blocks of [from, limit).
//
// deliberate: the cursor stays at the block taken instead of after it; a block freed at once is
// the next one given out.
unsigned char* Pool::search(std::uint64_t from, std::uint64_t limit, std::uint64_t count) {
  if (limit > end_) limit = end_;
  for (std::uint64_t block = from; block < limit; block = next(block)) {
    if (!is_free(block) || size(block) < count || next(block) > length_) continue;
    // deliberate: a block up to 9 bytes too large is returned unsplit; a remainder must have room
    // for its header and a byte.
    if (size(block) > count + header_) split(block, count);
    set_used(block, true);
    set_cursor(block);
    return payload(block);
  }
  return nullptr;
}

void Pool::split(std::uint64_t block, std::uint64_t count) {
  const std::uint64_t rest = size(block) - header_ - count;
  store(area_ + block, count);
  const std::uint64_t remainder = next(block);
  set_used(remainder, false);
  store(area_ + remainder + prev_at_, count);
  grow(remainder, rest);
}

// Sets the size of a block and updates the block after it.
void Pool::grow(std::uint64_t block, std::uint64_t size) {
  store(area_ + block, size);
  const std::uint64_t behind = next(block);
  if (behind < end_) store(area_ + behind + prev_at_, size);
}

// Frees a whole used block.
void Pool::release(std::uint64_t block) {
  set_used(block, false);
  const std::uint64_t behind = next(block);
  if (behind < end_ && is_free(behind)) {
    grow(block, size(block) + header_ + size(behind));
    if (cursor() == behind) set_cursor(block);
  }
  if (block == 0) return;
  const std::uint64_t before = block - header_ - prev_size(block);
  if (is_free(before)) {
    grow(before, size(before) + header_ + size(block));
    if (cursor() == block) set_cursor(before);
  }
}

// Is the pointer within the payloads, with a used flag where its header would be?
bool Pool::holds(const void* payload, std::uint64_t* block) const {
  const auto at = reinterpret_cast<std::uintptr_t>(payload);
  const auto first = reinterpret_cast<std::uintptr_t>(area_);
  if (payload == nullptr || at < first || at - first < header_ || at - first >= length_) {
    return false;
  }
  *block = at - first - header_;
  return is_used(*block);
}

// Do the header and its neighbours agree? Only what looks like a block is ever merged, as a
// pointer into some payload may have any bytes in front of it.
bool Pool::is_whole(std::uint64_t block) const {
  const std::uint64_t behind = next(block);
  if (behind > length_) return false;
  if (behind < end_) {
    if (prev_size(behind) != size(block) || next(behind) > length_) return false;
  } else if (behind != length_) {
    return false;
  }
  const std::uint64_t back = prev_size(block);
  if (block == 0) return back == 0;
  return back + header_ <= block && size(block - header_ - back) == back;
}

// Does the chain of blocks reach this one? It is entered at the cursor where that is on the way.
bool Pool::lands_on(std::uint64_t block) const {
  std::uint64_t at = block >= cursor() ? cursor() : 0;
  while (at < end_ && at < block) at = next(at);
  return at == block && at < end_;
}

constexpr char kUsedBorder[] = "|++++++++++++++++++++++++++++++|\n";
constexpr char kFreeBorder[] = "|------------------------------|\n";
constexpr char kSummaryBorder[] = "|!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!|\n";

unsigned long printable(std::uint64_t value) {
  return static_cast<unsigned long>(value);
}

void print_block(const Pool& pool, int number, std::uint64_t block) {
  const bool used = pool.is_used(block);
  const char* border = used ? kUsedBorder : kFreeBorder;
  std::printf(used ? "*%d* - malloc\n" : "*%d* - free\n", number);
  std::printf("%s", border);
  std::printf("|mem_pos           = %-10.1lu|\n", printable(block));
  std::printf("|mem_size          = %-10.1lu|\n", printable(pool.size(block)));
  std::printf("%s", border);
  std::printf("\n");
}

}  // namespace

void* format_pool(void* region, std::uint32_t size) {
  return region == nullptr || size < kMinRegion ? nullptr : Pool::format(region, size);
}

void* pool_allocate(void* pool, std::uint32_t count) {
  Pool live(pool);
  return live ? live.allocate(count) : nullptr;
}

void pool_free(void* pool, void* payload) {
  Pool live(pool);
  std::uint64_t block;
  if (live && live.holds(payload, &block) && live.is_whole(block)) live.release(block);
}

void end_pool(void* pool) {
  if (pool != nullptr) std::memset(pool, 0, (kCursor + 1) * sizeof(std::uint32_t));
}

}  // namespace kiv::base

using namespace kiv::base;

void* KIV_CALL zu_mem_init(void* region, uint32_t size) KIV_NOEXCEPT {
  return format_pool(region, size);
}

void* KIV_CALL zu_mem_malloc(void* pool, uint32_t count) KIV_NOEXCEPT {
  return pool_allocate(pool, count);
}

void KIV_CALL zu_mem_free(void* pool, void* payload) KIV_NOEXCEPT {
  pool_free(pool, payload);
}

int KIV_CALL zu_mem_is_valid_ext_(void* pool, const void* payload, uint32_t* size) KIV_NOEXCEPT {
  const Pool live(pool);
  std::uint64_t block;
  if (!live || !live.holds(payload, &block) || !live.lands_on(block)) return 0;
  if (size != nullptr) *size = static_cast<uint32_t>(live.size(block));
  return 1;
}

int KIV_CALL zu_mem_is_valid(void* pool, const void* payload) KIV_NOEXCEPT {
  return zu_mem_is_valid_ext_(pool, payload, nullptr);
}

void KIV_CALL zu_mem_info(void* pool, uint32_t* largest_used, uint32_t* largest_free,
                          uint32_t* used_blocks, uint32_t* free_blocks) KIV_NOEXCEPT {
  struct {
    std::uint32_t largest = 0;
    std::uint32_t count = 0;
  } kinds[2];  // free, used
  const Pool live(pool);
  for (std::uint64_t block = 0; live && block < live.end(); block = live.next(block)) {
    auto& kind = kinds[live.is_used(block)];
    const auto size = static_cast<std::uint32_t>(live.size(block));
    if (size > kind.largest) kind.largest = size;
    ++kind.count;
  }
  if (largest_used != nullptr) *largest_used = kinds[1].largest;
  if (largest_free != nullptr) *largest_free = kinds[0].largest;
  if (used_blocks != nullptr) *used_blocks = kinds[1].count;
  if (free_blocks != nullptr) *free_blocks = kinds[0].count;
}

void KIV_CALL zu_mem_destroy(void* pool) KIV_NOEXCEPT {
  end_pool(pool);
}

void KIV_CALL zu_mem_print(void* pool) KIV_NOEXCEPT {
  const Pool live(pool);
  if (!live) return;
  std::printf("zu_mem_print:\n");
  std::printf("size         = %lu\n", printable(live.length()));
  std::printf("pos          = %lu\n", printable(live.cursor()));
  std::printf("memory block list:\n");
  int number = 0;
  for (std::uint64_t block = 0; block < live.end(); block = live.next(block)) {
    print_block(live, number++, block);
  }

  std::uint32_t largest_used, largest_free, used_blocks, free_blocks;
  zu_mem_info(pool, &largest_used, &largest_free, &used_blocks, &free_blocks);
  std::printf("ALL:\n");
  std::printf("%s", kSummaryBorder);
  std::printf("|max_free_block_size = %-10.1lu|\n", printable(largest_free));
  std::printf("|max_used_block_size = %-10.1lu|\n", printable(largest_used));
  std::printf("|free_block_count    = %-10.1lu|\n", printable(free_blocks));
  std::printf("|used_block_count    = %-10.1lu|\n", printable(used_blocks));
  std::printf("%s", kSummaryBorder);
  std::printf("\n");
}
