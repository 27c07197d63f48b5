#include "protocol/keyword_index.h"

#include <bit>
#include <cstring>

#include "base/owned.h"

namespace kiv::protocol {
namespace {

// Fewer keywords are found faster one by one.
constexpr std::int32_t kFewKeywords = 6;
constexpr std::size_t kPairBytes = 65536 / 8;

const Keyword* keyword_of(const zu_list* node) {
  return static_cast<const Keyword*>(node->data);
}

std::int32_t prefix_size(std::int32_t length) {
  return length >= 8 ? 8 : length >= 4 ? 4 : length;
}

inline std::uint64_t load(const char* bytes, std::int32_t size) {
  std::uint64_t prefix = 0;
  std::memcpy(&prefix, bytes, static_cast<std::size_t>(size));
  return prefix;
}

std::uint32_t pair_of(const char* bytes) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[0]) << 8 |
                                    static_cast<unsigned char>(bytes[1]));
}

const Keyword* walk(const zu_list* entries, const char* text) {
  for (const zu_list* node = entries; node; node = node->next) {
    const Keyword* keyword = keyword_of(node);
    if (keyword->length > 0 && std::strstr(text, keyword->keyword)) return keyword;
  }
  return nullptr;
}

}  // namespace

std::int32_t KeywordIndex::bucket(std::uint64_t prefix, std::int32_t size) const {
  const std::uint64_t mixed = (prefix + static_cast<std::uint64_t>(size)) * 0x9E3779B97F4A7C15u;
  return static_cast<std::int32_t>(mixed >> (64 - bucket_bits_));
}

bool KeywordIndex::build(const zu_list* entries) {
  std::int32_t count = 0;
  const zu_list* last = nullptr;
  for (const zu_list* node = entries; node; node = node->next, ++count) last = node;
  if (count < kFewKeywords) return false;
  const int bits = static_cast<int>(std::bit_width(static_cast<std::uint32_t>(count))) + 1;
  const std::size_t bucket_count = std::size_t{1} << bits;
  auto nodes = base::Owned<Node>::allocate(static_cast<std::size_t>(count));
  auto buckets = base::Owned<std::int32_t>::allocate(bucket_count);
  auto pairs = base::Owned<std::uint8_t>::allocate_zeroed(kPairBytes);
  if (!nodes || !buckets || !pairs) return false;

  nodes_ = nodes.release();
  buckets_ = buckets.release();
  pairs_ = pairs.release();
  bucket_bits_ = bits;
  prefix_sizes_ = 0;
  std::memset(buckets_, -1, bucket_count * sizeof(std::int32_t));
  // From the last to the first, so that each bucket is in their order.
  for (const zu_list* node = last; node; node = node->prev) {
    const Keyword* keyword = keyword_of(node);
    --count;
    if (keyword->length < 1) continue;
    const std::int32_t size = prefix_size(keyword->length);
    std::int32_t& first = buckets_[bucket(load(keyword->keyword, size), size)];
    nodes_[count] = {keyword, count, first};
    first = count;
    prefix_sizes_ |= 1u << size;
    add_pairs(*keyword);
  }
  return true;
}

// A keyword of one byte begins with every pair that does.
void KeywordIndex::add_pairs(const Keyword& keyword) {
  const std::uint32_t pair = pair_of(keyword.keyword);
  if (keyword.length == 1) {
    std::memset(pairs_ + pair / 8, 0xff, 256 / 8);
  } else {
    pairs_[pair / 8] = static_cast<std::uint8_t>(pairs_[pair / 8] | 1 << pair % 8);
  }
}

void KeywordIndex::clear() {
  _zu_free(nodes_);
  _zu_free(buckets_);
  _zu_free(pairs_);
  nodes_ = nullptr;
  buckets_ = nullptr;
  pairs_ = nullptr;
}

// The better of `best` and the first keyword of the bucket that starts the text.
const KeywordIndex::Node* KeywordIndex::match(std::int32_t at, const char* text,
                                              std::int32_t length, const Node* best) const {
  for (; at >= 0; at = nodes_[at].next) {
    const Node& node = nodes_[at];
    if (best && node.order > best->order) break;
    const Keyword& keyword = *node.keyword;
    if (keyword.length <= length &&
        std::memcmp(keyword.keyword, text, static_cast<std::size_t>(keyword.length)) == 0) {
      return &node;
    }
  }
  return best;
}

template <std::int32_t Size>
const KeywordIndex::Node* KeywordIndex::look_up(const char* text, std::int32_t length,
                                                const Node* best) const {
  if ((prefix_sizes_ >> Size & 1) == 0 || Size > length) return best;
  return match(buckets_[bucket(load(text, Size), Size)], text, length, best);
}

const Keyword* KeywordIndex::find_first(const zu_list* entries, const char* text,
                                        std::int32_t length) {
  if (!nodes_ && !build(entries)) return walk(entries, text);
  const Node* best = nullptr;
  for (; length > 0; ++text, --length) {
    const std::uint32_t pair = pair_of(text);
    if ((pairs_[pair / 8] >> pair % 8 & 1) == 0) continue;
    best = look_up<8>(text, length, best);
    best = look_up<4>(text, length, best);
    best = look_up<3>(text, length, best);
    best = look_up<2>(text, length, best);
    best = look_up<1>(text, length, best);
  }
  return best ? best->keyword : nullptr;
}

}  // namespace kiv::protocol
