// Maps, trees, the list, the jitter buffer and the pool beside the standard library's containers.
// The input is a row of steps of three bytes: what to do, a key, a value.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/containers.h"

namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

void* as_value(unsigned number) {
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(number) + 1);
}

// Keys repeat in a table, and the newest is found; a tree keeps one.
class Tables {
 public:
  explicit Tables(void* pool)
      : numbers_(zu_ihash_mallocx(buckets_[0], 3, pool)),
        texts_(zu_shash_mallocx(buckets_[1], 3, pool)),
        tree_(zu_itree_mallocx(pool)),
        text_tree_(zu_stree_mallocx(pool)) {}
  ~Tables() {
    zu_ihash_free(numbers_);
    zu_shash_free(texts_);
    zu_itree_free(tree_);
    zu_stree_free(text_tree_);
  }
  Tables(const Tables&) = delete;
  Tables& operator=(const Tables&) = delete;

  void step(unsigned what, int key, unsigned number) {
    const std::string text(static_cast<std::size_t>(key % 5), static_cast<char>('a' + key % 26));
    void* const value = as_value(number);
    if (what % 2 == 0) {
      check(zu_ihash_insert(numbers_, key - 100, value) == 1);
      check(zu_shash_insert(texts_, text.c_str(), value) == 1);
      check(zu_itree_insert(tree_, key - 100, value) == 1);
      tree_model_[key - 100] = value;
      check(zu_stree_insert(text_tree_, text.c_str(), value) == !text.empty());
      if (!text.empty()) text_tree_model_[text] = value;
      model_[key - 100].push_back(value);
      text_model_[text].push_back(value);
    } else {
      zu_ihash_delete(numbers_, key - 100);
      zu_shash_delete(texts_, text.c_str());
      check(zu_itree_delete(tree_, key - 100) == (tree_model_.erase(key - 100) == 1));
      check(zu_stree_delete(text_tree_, text.c_str()) == (text_tree_model_.erase(text) == 1));
      remove_newest(model_, key - 100);
      remove_newest(text_model_, text);
    }
    compare(key - 100, text);
  }

 private:
  template <typename Model, typename Key>
  static void* newest(const Model& model, const Key& key) {
    const auto found = model.find(key);
    return found == model.end() ? nullptr : found->second.back();
  }
  template <typename Model, typename Key>
  static void remove_newest(Model& model, const Key& key) {
    const auto found = model.find(key);
    if (found == model.end()) return;
    found->second.pop_back();
    if (found->second.empty()) model.erase(found);
  }
  template <typename Model>
  static std::size_t size_of(const Model& model) {
    std::size_t size = 0;
    for (const auto& [key, values] : model) size += values.size();
    return size;
  }

  void compare(int key, const std::string& text) {
    void* found = nullptr;
    check(zu_ihash_find(numbers_, key, &found) == (newest(model_, key) != nullptr));
    check(found == newest(model_, key));
    found = nullptr;
    zu_shash_find(texts_, text.c_str(), &found);
    check(found == newest(text_model_, text));
    check(static_cast<std::size_t>(zu_ihash_nnodes(numbers_)) == size_of(model_));
    check(static_cast<std::size_t>(zu_shash_nnodes(texts_)) == size_of(text_model_));
    std::vector<void*> walked, expected;
    const auto note = [](void* value, void* all) {
      static_cast<std::vector<void*>*>(all)->push_back(value);
    };
    zu_itree_foreach(tree_, note, &walked);
    zu_stree_foreach(text_tree_, note, &walked);
    for (const auto& [ignored, value] : tree_model_) expected.push_back(value);
    for (const auto& [ignored, value] : text_tree_model_) expected.push_back(value);
    check(walked == expected);
  }

  void* buckets_[2][3] = {};
  zu_ihash* numbers_;
  zu_shash* texts_;
  zu_itree* tree_;
  zu_stree* text_tree_;
  std::map<int, std::vector<void*>> model_;
  std::map<std::string, std::vector<void*>> text_model_;
  std::map<int, void*> tree_model_;
  std::map<std::string, void*> text_tree_model_;
};

// A row of values in a list, and of bytes in a jitter buffer.
class Rows {
 public:
  ~Rows() {
    zu_list_free_all(list_, nullptr, nullptr);
    zu_jitter_free(jitter_);
  }

  void step(unsigned what, unsigned key, unsigned number) {
    const std::string piece(key % 40, static_cast<char>(number));
    char taken[64] = {};
    switch (what % 6) {
      case 0:
        list_ = zu_list_append(list_, as_value(number));
        row_.push_back(as_value(number));
        break;
      case 1:
        list_ = zu_list_prepend(list_, as_value(number));
        row_.insert(row_.begin(), as_value(number));
        break;
      case 2:
        list_ = zu_list_remove_all(list_, as_value(number), nullptr, nullptr);
        std::erase(row_, as_value(number));
        break;
      case 3:
        list_ = zu_list_sort(list_, less);
        std::stable_sort(row_.begin(), row_.end());
        break;
      case 4: {
        const std::int32_t kept =
            zu_jitter_SetData(jitter_, piece.data(), static_cast<std::int32_t>(piece.size()));
        check(kept >= 0 && static_cast<std::size_t>(kept) <= piece.size());
        bytes_.append(piece, 0, static_cast<std::size_t>(kept));
        break;
      }
      default: {
        const std::int32_t got =
            zu_jitter_GetData(jitter_, taken, static_cast<std::int32_t>(key % 64));
        const std::size_t size = std::min<std::size_t>(bytes_.size(), key % 64);
        check(got == static_cast<std::int32_t>(size) && bytes_.compare(0, size, taken, size) == 0);
        bytes_.erase(0, size);
      }
    }
    check(zu_list_length(list_) == row_.size());
    for (std::size_t i = 0; i < row_.size(); ++i) {
      check(zu_list_nth_data(list_, static_cast<std::int32_t>(i)) == row_[i]);
    }
    check(static_cast<std::size_t>(zu_jitter_GetLen(jitter_)) == bytes_.size());
  }

 private:
  static int KIV_CALL less(const void* a, const void* b) { return a < b ? -1 : a > b ? 1 : 0; }

  zu_list* list_ = nullptr;
  zu_jitter* jitter_ = zu_jitter_mallocx(16, 4, nullptr);
  std::vector<void*> row_;
  std::string bytes_;
};

// Blocks of a pool never share a byte, and what was freed comes back.
class Pool {
 public:
  void step(unsigned what, unsigned key, unsigned number) {
    if (what % 2 == 0) {
      if (char* const block = static_cast<char*>(zu_mem_malloc(pool_, key))) {
        std::memset(block, static_cast<int>(number), key);
        blocks_.emplace_back(block, std::string(key, static_cast<char>(number)));
      }
    } else if (!blocks_.empty()) {
      const auto chosen = blocks_.begin() + static_cast<std::ptrdiff_t>(key % blocks_.size());
      zu_mem_free(pool_, chosen->first);
      check(zu_mem_is_valid(pool_, chosen->first) == 0);
      blocks_.erase(chosen);
    }
    for (const auto& [block, content] : blocks_) {
      check(zu_mem_is_valid(pool_, block) == 1 &&
            content.compare(0, content.size(), block, content.size()) == 0);
    }
    std::uint32_t used = 0, left = 0;
    zu_mem_info(pool_, nullptr, nullptr, &used, &left);
    check(used == blocks_.size() && (used > 0 || left == 1));
  }

 private:
  char region_[2000];
  void* pool_ = zu_mem_init(region_, sizeof region_);
  std::vector<std::pair<char*, std::string>> blocks_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static char region[1 << 20];
  const bool in_pool = size > 0 && (data[0] & 1) != 0;
  {
    Tables tables(in_pool ? zu_mem_init(region, sizeof region) : nullptr);
    Rows rows;
    Pool pool;
    for (std::size_t at = 1; at + 3 <= std::min<std::size_t>(size, 600); at += 3) {
      const unsigned what = data[at] / 3U;
      switch (data[at] % 3) {
        case 0:
          tables.step(what, data[at + 1], data[at + 2]);
          break;
        case 1:
          rows.step(what, data[at + 1], data[at + 2]);
          break;
        default:
          pool.step(what, data[at + 1], data[at + 2]);
      }
    }
  }
  return 0;
}
