// Finds the first inserted of many keywords in one pass over a text: keywords are hashed by their
// first bytes, and every position of the text looks its bytes up (after Wu and Manber, "A fast
// algorithm for multi-pattern searching", 1994, without the shift table). A bit for each pair of
// bytes tells first whether any keyword begins so.
#pragma once

#include <cstdint>

#include "kiv_base/containers.h"

namespace kiv::protocol {

inline constexpr std::int32_t kMaxKeyword = 64;
inline constexpr std::int32_t kMaxKeywordText = 100;

struct Keyword {
  char keyword[kMaxKeyword + 1];  // what is compared, zero-terminated
  char text[kMaxKeywordText + 1];
  std::int32_t tag;
  std::int32_t length;  // of `keyword`; 0 never hits
};

// All zero is an index that is not made yet.
class KeywordIndex {
 public:
  // The first of the entries (Keyword) that occurs in the zero-terminated text, or null. Makes the
  // index of the entries when there is none; without memory it walks them.
  const Keyword* find_first(const zu_list* entries, const char* text, std::int32_t length);

  // Frees the index. The entries have changed.
  void clear();

 private:
  struct Node {
    const Keyword* keyword;
    std::int32_t order;  // of its insertion
    std::int32_t next;   // in its bucket, ascending in order; -1: last
  };

  bool build(const zu_list* entries);
  void add_pairs(const Keyword& keyword);
  std::int32_t bucket(std::uint64_t prefix, std::int32_t size) const;
  const Node* match(std::int32_t at, const char* text, std::int32_t length, const Node* best) const;
  template <std::int32_t Size>
  const Node* look_up(const char* text, std::int32_t length, const Node* best) const;

  Node* nodes_;
  std::int32_t* buckets_;
  std::uint8_t* pairs_;  // one bit for each pair
  std::int32_t bucket_bits_;
  std::uint32_t prefix_sizes_;  // bit n: there are keywords that are hashed by n bytes
};

}  // namespace kiv::protocol
