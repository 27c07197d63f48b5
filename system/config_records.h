// What holds the records of a configuration: the pool they come from, the index that finds them and
// what an iteration has still to hand out. A record links itself into all three.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "base/owned.h"

namespace kiv::system {

// Room for records, many to a block. Blocks are only freed with the pool.
template <typename T>
class Pool {
 public:
  Pool() = default;
  ~Pool() {
    while (blocks_ != nullptr) base::deallocate(std::exchange(blocks_, blocks_->chain));
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  // Sizes the first block.
  void expect(std::size_t records) { next_room_ = records + 1; }

  // Returns a fresh record, null if out of memory.
  T* take_record() {
    if (free_ != nullptr) return new (std::exchange(free_, free_->chain)) T;
    if (used_ == room_ && !add_block()) return nullptr;
    return new (&blocks_[used_++]) T;
  }
  void give_back(T* record) { record->chain = std::exchange(free_, record); }

 private:
  static constexpr std::size_t kMostRoom = 1024;

  bool add_block() {
    auto block = base::RawStorage<T>::allocate(next_room_);
    if (!block) return false;
    block->chain = blocks_;
    blocks_ = block.release();
    room_ = next_room_;
    used_ = 1;
    next_room_ = std::min(room_ * 2, kMostRoom);
    return true;
  }

  T* blocks_ = nullptr;  // the first record of each only links to the next block
  T* free_ = nullptr;
  std::size_t room_ = 0;  // of the first block
  std::size_t used_ = 0;
  std::size_t next_room_ = 8;
};

// Mixes the bytes eight at a time.
inline std::size_t hash_of(const char* text, std::size_t length, const void* salt) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
  std::uint64_t hash = reinterpret_cast<std::uintptr_t>(salt) ^ (length * kFactor);
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * kFactor;
    hash ^= hash >> 32;
  };
  for (; length >= sizeof(std::uint64_t); text += sizeof(std::uint64_t)) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    mix(word);
    length -= sizeof word;
  }
  std::uint64_t rest = 0;
  for (; length > 0; --length) rest = rest << 8 | static_cast<unsigned char>(*text++);
  mix(rest);
  return static_cast<std::size_t>(hash);
}

// A hash table. Of equal records the newest is found first. T has hash() and `chain`.
template <typename T>
class Index {
 public:
  Index() = default;
  ~Index() = default;
  Index(const Index&) = delete;
  Index& operator=(const Index&) = delete;

  // Makes room; false if out of memory. insert() needs some and then adds more as it can.
  bool prepare(std::size_t records = 1) {
    std::size_t size = 1;
    while (size * kMostPerBucket < records) size *= 2;
    return buckets_ || resize(size);
  }

  void insert(T* record) {
    if (count_ == size_ * kMostPerBucket) (void)resize(size_ * 2);
    T*& first = buckets_[record->hash() & (size_ - 1)];
    record->chain = std::exchange(first, record);
    ++count_;
  }

  // Returns the link to the newest record that fits, null if there is none.
  template <typename Fits>
  T** find(std::size_t hash, Fits fits) const {
    if (!buckets_) return nullptr;
    T** link = &buckets_[hash & (size_ - 1)];
    while (*link != nullptr && !fits(**link)) link = &(*link)->chain;
    return *link != nullptr ? link : nullptr;
  }

  void remove(T** link) {
    *link = (*link)->chain;
    --count_;
  }

  template <typename Visit>
  void for_each(Visit visit) const {
    for (std::size_t i = 0; i < size_; ++i) {
      for (T* record = buckets_[i]; record != nullptr; record = record->chain) visit(record);
    }
  }

 private:
  static constexpr std::size_t kMostPerBucket = 2;

  bool resize(std::size_t size) {
    auto buckets = base::RawStorage<T*>::allocate_zeroed(size);
    if (!buckets) return false;
    for (std::size_t i = 0; i < size_; ++i) {
      // At the ends of the new chains, so that the newest stays first.
      T** ends[] = {&buckets[i], &buckets[i + size_]};
      for (T* record = buckets_[i]; record != nullptr; record = record->chain) {
        T**& end = ends[(record->hash() & size_) != 0];
        *end = record;
        end = &record->chain;
      }
      *ends[0] = *ends[1] = nullptr;
    }
    buckets_ = std::move(buckets);
    size_ = size;
    return true;
  }

  base::RawStorage<T*> buckets_;
  std::size_t size_ = 0;  // a power of two
  std::size_t count_ = 0;
};

// What an iteration has still to hand out, in the order of names. It needs no memory. T has name(),
// is_listed(), `next_pending`, `pending` and `removed`.
template <typename T>
class Pending {
 public:
  void add(T* record) {
    record->pending = true;
    record->next_pending = std::exchange(first_, record);
    ++count_;
  }
  void sort() { first_ = sorted(first_, count_); }

  // Returns the next record, null at the end. Records removed meanwhile only now go back to
  // their pool.
  T* take_pending(Pool<T>& pool) {
    while (first_ != nullptr) {
      T* const record = std::exchange(first_, first_->next_pending);
      record->pending = false;
      --count_;
      if (record->removed) {
        pool.give_back(record);
      } else if (record->is_listed()) {
        return record;
      }
    }
    return nullptr;
  }
  void clear(Pool<T>& pool) {
    while (take_pending(pool) != nullptr) {
    }
  }

 private:
  // Takes `count` records from the front of `rest` and returns them as a sorted list.
  static T* sorted(T*& rest, std::size_t count) {
    if (count == 0) return nullptr;
    if (count == 1) {
      T* const only = rest;
      rest = std::exchange(only->next_pending, nullptr);
      return only;
    }
    T* const front = sorted(rest, count / 2);
    return merged(front, sorted(rest, count - count / 2));
  }

  static T* merged(T* a, T* b) {
    T* first = nullptr;
    for (T** end = &first;; end = &(*end)->next_pending) {
      if (a == nullptr || b == nullptr) {
        *end = a != nullptr ? a : b;
        return first;
      }
      T*& smaller = std::strcmp(a->name(), b->name()) < 0 ? a : b;
      *end = std::exchange(smaller, smaller->next_pending);
    }
  }

  T* first_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace kiv::system
