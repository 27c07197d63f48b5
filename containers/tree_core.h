// The ordered map over a threaded AVL tree, for any kind of key.
//
// A tree is the public record, so the C functions reach it with a cast. A probe is the key looked
// for with the comparison that goes with it: probe(stored_key) is negative if the probe sorts
// before the stored key, 0 if equal, positive if after. Each descent from the root gets a copy of
// the probe, which may remember what it has passed.
#pragma once

#include <iterator>

#include "containers/storage.h"
#include "containers/tree_balance.h"
#include "kiv_base/containers.h"

namespace kiv::containers {

enum class OnEqual { keep_key, replace_key };
enum class Destroy { no, yes };

class TreeCore : public zu_xtree {
 public:
  static TreeCore* of(zu_xtree* tree) { return static_cast<TreeCore*>(tree); }

  void init(void* from_pool, zu_key_compare_fn compare) {
    *static_cast<zu_xtree*>(this) = {};
    pool = from_pool;
    key_compare = compare;
  }

  // Removes all entries in order, each after the destroy callbacks. The record remains.
  void dispose() {
    for (TreeNode* node = leftmost(root); node;) {
      TreeNode* next = successor(node);
      destroy_key(node->key);
      destroy_value(node->value);
      give_back_storage(pool, node);
      node = next;
    }
  }

  // NULL if absent.
  template <typename Probe>
  TreeNode* find(Probe probe) const {
    if (!root) return nullptr;
    for (TreeNode* node = root;;) {
      const int order = probe(node->key);
      if (order == 0) return node;
      if (order < 0) {
        if (!node->left_child) return nullptr;
        node = node->left;
      } else {
        if (!node->right_child) return nullptr;
        node = node->right;
      }
    }
  }

  // Returns false if out of memory.
  template <typename Probe>
  bool store(Probe probe, void* key, void* value, OnEqual on_equal) {
    Path path;
    if (TreeNode* node = descend(probe, path)) {
      overwrite(node, key, value, on_equal);
      return true;
    }
    TreeNode* leaf = nnodes < INT32_MAX ? take_record<TreeNode>(pool) : nullptr;
    if (!leaf) return false;
    leaf->key = key;
    leaf->value = value;
    attach(this, path, leaf);
    ++nnodes;
    return true;
  }

  // Stores over an existing entry.
  // deliberate: keeping the stored key destroys the new one; insertion always takes the key over.
  void overwrite(TreeNode* node, void* key, void* value, OnEqual on_equal) {
    void* old_value = node->value;
    void* unused_key = key;
    node->value = value;
    if (on_equal == OnEqual::replace_key) {
      unused_key = node->key;
      node->key = key;
    }
    destroy_value(old_value);
    destroy_key(unused_key);
  }

  // Returns false if absent.
  template <typename Probe>
  bool remove(Probe probe, Destroy destroy) {
    Path path;
    TreeNode* node = descend(probe, path);
    if (!node) return false;
    node = detach(this, path, node);
    if (destroy == Destroy::yes) {
      destroy_key(node->key);
      destroy_value(node->value);
    }
    give_back_storage(pool, node);
    --nnodes;
    return true;
  }

  // Finds the value, lets release(value) see it and then removes the entry with a search of its
  // own: `release` may have changed the tree.
  template <typename Probe, typename Release>
  bool release_and_remove(Probe probe, Release release) {
    const TreeNode* node = find(probe);
    if (!node) return false;
    release(node->value);
    return remove(probe, Destroy::yes);
  }

  // Walks over the nodes in key order. The tree must not change meanwhile.
  class Iterator {
   public:
    explicit Iterator(TreeNode* first) : node_(first) {}
    TreeNode& operator*() const { return *node_; }
    bool operator==(std::default_sentinel_t) const { return !node_; }
    Iterator& operator++() {
      node_ = successor(node_);
      return *this;
    }

   private:
    TreeNode* node_;
  };
  Iterator begin() const { return Iterator(leftmost(root)); }
  std::default_sentinel_t end() const { return {}; }

 private:
  // As find(), and the path to the node or to the place where it belongs.
  template <typename Probe>
  TreeNode* descend(Probe& probe, Path& path) const {
    TreeNode* node = root;
    while (node) {
      const int order = probe(node->key);
      if (order == 0) return node;
      path.push(node, order < 0 ? kLeft : kRight);
      if (!(order < 0 ? node->left_child : node->right_child)) return nullptr;
      node = order < 0 ? node->left : node->right;
    }
    return nullptr;
  }

  void destroy_key(void* key) const {
    if (key_destroy) key_destroy(key, key_destroy_data);
  }

  void destroy_value(void* value) const {
    if (value_destroy) value_destroy(value, value_destroy_data);
  }
};

// An ordered map of its own storage, the heap or a pool, from keys to objects of one type, which it
// does not own. A Keys type names the Key and Probe types of its family and defines
//   init(tree, pool)           makes an empty tree of the record
//   insert(tree, key, value)   stores a copy of the key
//   find(tree, key)            the node of the key, NULL if absent
template <typename Keys, typename Value>
class OrderedTree {
 public:
  using Key = typename Keys::Key;

  OrderedTree() : OrderedTree(nullptr) {}
  explicit OrderedTree(void* pool) { Keys::init(core_, pool); }
  ~OrderedTree() { core_.dispose(); }
  OrderedTree(const OrderedTree&) = delete;
  OrderedTree& operator=(const OrderedTree&) = delete;

  std::int32_t size() const { return core_.nnodes; }

  // Replaces the value of a key that is there already. Returns false if out of memory.
  [[nodiscard]] bool insert(Key key, Value* value) { return Keys::insert(core_, key, value); }

  Value* find(Key key) const {
    const TreeNode* node = Keys::find(core_, key);
    return node ? static_cast<Value*>(node->value) : nullptr;
  }

  // Returns false if absent.
  bool remove(Key key) { return core_.remove(typename Keys::Probe(key), Destroy::yes); }

  // Calls release(value) for each entry in order, then removes them all.
  template <typename Release>
  void clear(Release release) {
    for (Value& value : *this) release(value);
    core_.dispose();
    Keys::init(core_, core_.pool);
  }

  // Walks over the values in key order. The tree must not change meanwhile.
  class Iterator {
   public:
    explicit Iterator(TreeCore::Iterator at) : at_(at) {}
    Value& operator*() const { return *static_cast<Value*>((*at_).value); }
    bool operator==(std::default_sentinel_t end) const { return at_ == end; }
    Iterator& operator++() {
      ++at_;
      return *this;
    }

   private:
    TreeCore::Iterator at_;
  };
  Iterator begin() const { return Iterator(core_.begin()); }
  std::default_sentinel_t end() const { return {}; }

 private:
  TreeCore core_;
};

}  // namespace kiv::containers
