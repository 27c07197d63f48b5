// Hash tables over integers: the cores of zu_ihash and zu_i64hash, and maps from integers to
// objects.
//
//   IntMap<Peer> peers;
//   if (!peers.create(5120) || !peers.insert(peer->id, peer)) return false;
//   if (Peer* peer = peers.find(id)) ...
//   for (Peer& peer : peers) ...
#pragma once

#include "containers/hash_core.h"

namespace kiv::containers {

template <typename RecordType, typename NodeType, typename KeyType, typename UnsignedKey>
struct IntKeys {
  using Record = RecordType;
  using Node = NodeType;
  using Count = KeyType;
  using Key = KeyType;

  static Count bucket_index(Key key, Count count) {
    const UnsignedKey magnitude = magnitude_of(static_cast<UnsignedKey>(key));
    return static_cast<Count>(remainder(magnitude, static_cast<UnsignedKey>(count)));
  }

  static bool matches(const Node* node, Key key) { return node->key == key; }

  static Node* make_node(void* pool, Key key) {
    Node* node = take_record<Node>(pool);
    if (node) node->key = key;
    return node;
  }

  static void free_node(void* pool, Node* node) { give_back_storage(pool, node); }

 private:
  // A 64-bit division costs several times a 32-bit one, and a call in 32-bit builds.
  static UnsignedKey remainder(UnsignedKey value, UnsignedKey count) {
    if (value <= UINT32_MAX && count <= UINT32_MAX) {
      return static_cast<std::uint32_t>(value) % static_cast<std::uint32_t>(count);
    }
    return value % count;
  }
};

using Int32Keys = IntKeys<zu_ihash, zu_ihash_node, std::int32_t, std::uint32_t>;
using Int64Keys = IntKeys<zu_i64hash, zu_i64hash_node, std::int64_t, std::uint64_t>;

template <typename Value>
using IntMap = HashMap<Int32Keys, Value>;

}  // namespace kiv::containers
