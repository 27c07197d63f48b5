// Balanced trees over strings, of which they keep copies: what zu_stree does, and the ordered map
// from strings to objects.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/str.h"
#include "containers/tree_core.h"

namespace kiv::containers {

struct TextTreeKeys {
  using Key = const char*;  // at least one byte long

  // Compares in a descent from the root. All keys between the nearest ones passed so far begin with
  // the bytes that the probe shares with both, so those are not compared again. A long prefix
  // shared with one of them is likely to be shared with the next, too, and compared at once. Zero
  // bytes end a string, also one stored with its length.
  class Probe {
   public:
    explicit Probe(Key key) : key_(key) {}

    int operator()(const void* stored_key) {
      const auto* stored = static_cast<const char*>(stored_key);
      std::size_t at = std::min(shared_below_, shared_above_);
      const std::size_t likely = std::max(shared_below_, shared_above_) - at;
      if (likely >= kLongPrefix && std::strncmp(key_ + at, stored + at, likely) == 0) at += likely;
      while (key_[at] == stored[at] && key_[at] != '\0') ++at;
      const int order =
          static_cast<unsigned char>(key_[at]) - static_cast<unsigned char>(stored[at]);
      (order < 0 ? shared_above_ : shared_below_) = at;
      return order;
    }

   private:
    static constexpr std::size_t kLongPrefix = 12;  // shorter ones cost less than the call

    Key key_;
    std::size_t shared_below_ = 0;
    std::size_t shared_above_ = 0;
  };

  // The comparison for trees of this kind.
  static int KIV_CALL compare(const void* stored_key, const void* probe, void*) {
    return base::compare(static_cast<const char*>(probe), static_cast<const char*>(stored_key));
  }

  static void init(TreeCore& tree, void* pool) {
    tree.init(pool, compare);
    tree.key_destroy = free_key;
    tree.key_destroy_data = &tree;
  }

  // Returns NULL for an invalid length or if out of memory.
  static char* copy_of(void* pool, const void* key, std::size_t length) {
    if (length < 1 || length >= INT32_MAX) return nullptr;
    auto* copy = static_cast<char*>(take_storage(pool, static_cast<std::uint32_t>(length) + 1));
    if (!copy) return nullptr;
    std::memcpy(copy, key, length);
    copy[length] = '\0';
    return copy;
  }

  // Stores an entry under a copy of its key, which may be NULL and is freed if it is not stored.
  template <typename AnyProbe>
  static bool insert_copy(TreeCore& tree, AnyProbe probe, char* copy, void* value) {
    if (!copy) return false;
    if (tree.store(probe, copy, value, OnEqual::keep_key)) return true;
    give_back_storage(tree.pool, copy);
    return false;
  }

  static bool insert(TreeCore& tree, Key key, void* value) {
    return insert_copy(tree, Probe(key), copy_of(tree.pool, key, std::strlen(key)), value);
  }

  static TreeNode* find(const TreeCore& tree, Key key) { return tree.find(Probe(key)); }

 private:
  static void KIV_CALL free_key(void* key, void* tree) {
    give_back_storage(static_cast<zu_xtree*>(tree)->pool, key);
  }
};

template <typename Value>
using TextTree = OrderedTree<TextTreeKeys, Value>;

}  // namespace kiv::containers
