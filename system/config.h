// A configuration: the tokens of its text, and an index of groups and keys over them.
#pragma once

#include <cstddef>

#include "base/owned.h"
#include "kiv_base/containers.h"
#include "kiv_base/system.h"
#include "system/config_tokens.h"

namespace kiv::system {

// Links of what an iteration has still to hand out.
template <typename T>
struct PendingLinks {
  T* prev = nullptr;
  T* next = nullptr;
};

// What an iteration has still to hand out, in order. It needs no memory, and what is removed from
// the configuration is taken out of it at once.
template <typename T>
class Pending {
 public:
  void append(T* item) {
    item->pending.prev = last_;
    (last_ != nullptr ? last_->pending.next : first_) = item;
    last_ = item;
  }
  void drop(T* item) {
    if (item != first_ && item->pending.prev == nullptr) return;  // not in here
    PendingLinks<T>& links = item->pending;
    (links.prev != nullptr ? links.prev->pending.next : first_) = links.next;
    (links.next != nullptr ? links.next->pending.prev : last_) = links.prev;
    links = {};
  }
  // The next one, or null at the end.
  T* take() {
    T* item = first_;
    if (item != nullptr) drop(item);
    return item;
  }
  void clear() {
    while (take() != nullptr) {
    }
  }

 private:
  T* first_ = nullptr;
  T* last_ = nullptr;
};

// A key of a group; of several equal ones, the last.
struct Entry {
  zu_config_entry pair;  // in this record's block, where the value is the first one
  char* later_value;     // a block of its own
  Token* value_token;
  PendingLinks<Entry> pending;
};

// All sections of one name.
struct Group {
  char* name;
  zu_stree* keys;  // of Entry
  Token* first_header;
  Token* last_header;
  PendingLinks<Group> pending;
};

// The tokens of a group's headers have its name as their text: the same pointer, so that a token is
// recognised without comparing texts. Those of keys stay with the text that was read, which is then
// written from one place.
class Config {
 public:
  Config() = default;
  ~Config();
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  // Reads a text, with its terminator, into an empty configuration. False without memory.
  bool load(base::Owned<char> source, std::size_t length);

  // Look up; null when it is not there.
  Group* group(const char* name) const;
  Entry* entry(const char* group_name, const char* key) const;

  // Change text and index alike. False, with nothing changed, for names that cannot be indexed, for
  // what is not there, and without memory.
  bool set_group(const char* name);
  bool set_key(const char* group_name, const char* key, const char* value);
  bool unset_key(const char* group_name, const char* key);
  bool unset_group(const char* name);
  bool rename_group(const char* name, const char* new_name);

  void rewind_groups();
  bool rewind_keys(const char* group_name);
  Group* next_group() { return pending_groups_.take(); }
  Entry* next_entry() { return pending_entries_.take(); }

  base::Owned<char> print(std::size_t& length) const { return tokens_.print(length); }

 private:
  friend class ConfigParser;

  Group* add_group(const char* name, std::size_t length);
  bool index_header(Token* header, Group*& group);
  bool index_key(Group& group, Token* key, Token* value);
  bool add_key(Group& group, const char* key, const char* value);
  bool update_key(Entry& entry, const char* value);
  void remove_from_index(Group* group);
  template <typename Visit>
  void visit_sections(const Group& group, Visit visit);

  base::Owned<char> source_;
  TokenPool pool_;
  TokenList tokens_{pool_};
  zu_stree* groups_ = nullptr;  // of Group; made with the first one
  Pending<Group> pending_groups_;
  Pending<Entry> pending_entries_;
};

}  // namespace kiv::system

struct zu_config : kiv::system::Config {};
