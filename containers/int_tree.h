// Balanced trees over 32-bit integers, which lie in the key pointers themselves: what zu_itree
// does, and the ordered map from integers to objects.
//
//   IntTree<Slave> slaves;
//   if (!slaves.insert(thread, slave)) return false;
//   for (Slave& slave : slaves) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "containers/tree_core.h"

namespace kiv::containers {

struct IntTreeKeys {
  using Key = std::int32_t;

  static void* stored(Key key) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(key)); }

  static std::uint32_t low_word(const void* key) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key));
  }

  // deliberate: the wrapped difference orders keys wrongly when they lie 2^31 or more apart;
  // counters that wrap around stay in order through it.
  static int difference(const void* stored_key, std::uint32_t probe) {
    return static_cast<std::int32_t>(probe - low_word(stored_key));
  }

  struct Probe {
    explicit Probe(Key wanted) : key(static_cast<std::uint32_t>(wanted)) {}
    int operator()(const void* stored_key) const { return difference(stored_key, key); }
    std::uint32_t key;
  };

  // The comparison for trees of this kind.
  static int KIV_CALL compare(const void* stored_key, const void* probe, void*) {
    return difference(stored_key, low_word(probe));
  }

  static void init(TreeCore& tree, void* pool) { tree.init(pool, compare); }

  static bool insert(TreeCore& tree, Key key, void* value) {
    return tree.store(Probe(key), stored(key), value, OnEqual::keep_key);
  }

  // In a small tree the processor learns the ways that are taken again and again. In a large one
  // each guess at a branch fails half of the time, and choosing the link by an index is cheaper.
  static TreeNode* find(const TreeCore& tree, Key key) {
    constexpr std::int32_t kSmall = 4096;
    return tree.nnodes <= kSmall ? tree.find(Probe(key)) : find_without_branches(tree, key);
  }

 private:
  static TreeNode* find_without_branches(const TreeCore& tree, Key key) {
    static_assert(offsetof(TreeNode, right) == offsetof(TreeNode, left) + sizeof(TreeNode*) &&
                  offsetof(TreeNode, right_child) == offsetof(TreeNode, left_child) + 1);
    const Probe probe(key);
    for (TreeNode* node = tree.root;;) {
      const int order = probe(node->key);
      if (order == 0) return node;
      const std::size_t side = order < 0 ? 0 : 1;
      const auto* bytes = reinterpret_cast<const unsigned char*>(node);
      if (!bytes[offsetof(TreeNode, left_child) + side]) return nullptr;
      std::memcpy(&node, bytes + offsetof(TreeNode, left) + side * sizeof(node), sizeof(node));
    }
  }
};

template <typename Value>
using IntTree = OrderedTree<IntTreeKeys, Value>;

}  // namespace kiv::containers
