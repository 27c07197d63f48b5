// A configuration: the pieces of its text, and an index of groups and keys over them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/str.h"
#include "system/config_records.h"
#include "system/config_text.h"

namespace kiv::system {

// All sections of one name. The name stands in the first header, terminated there, until the group
// is renamed.
struct Group {
  const char* text = nullptr;
  std::uint32_t length = 0;
  bool own_text = false;
  bool pending = false;
  bool removed = false;
  Piece* first_header = nullptr;
  Piece* last_header = nullptr;
  Group* chain = nullptr;
  Group* next_pending = nullptr;

  const char* name() const { return text; }
  bool is_listed() const { return true; }
  std::size_t hash() const { return hash_of(text, length, nullptr); }
};

class Config {
 public:
  Config() = default;
  ~Config();
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  // Reads a text, with its terminator, into an empty configuration. False if out of memory.
  bool load(base::RawStorage<char> source, std::size_t length);

  // Look up; null when it is not there. Names may be null.
  Group* group(const char* name) const;
  Piece* key(const char* group_name, const char* name) const;

  // Change text and index alike. False, with nothing changed, for names that cannot be indexed, for
  // what is not there, and if out of memory.
  bool set_group(const char* name);
  bool set_key(const char* group_name, const char* name, const char* value);
  bool unset_key(const char* group_name, const char* name);
  bool unset_group(const char* name);
  bool rename_group(const char* name, const char* new_name);

  void rewind_groups();
  bool rewind_keys(const char* group_name);
  Group* next_group() { return pending_groups_.take_pending(group_pool_); }
  Piece* next_key() { return pending_keys_.take_pending(text_.pool()); }

  base::RawStorage<char> print(std::size_t& length) const { return text_.print(length); }

 private:
  friend class ConfigParser;

  Group** find_group(const char* name, std::size_t length) const;
  Piece** find_key(const Group& group, const char* name, std::size_t length) const;
  Piece* take_from_index(const Group& group, const char* name, std::size_t length);
  void release(Group* group);

  base::RawStorage<char> source_;
  ConfigText text_;
  Pool<Group> group_pool_;
  Index<Group> groups_;
  Index<Piece> keys_;
  Pending<Group> pending_groups_;
  Pending<Piece> pending_keys_;
};

}  // namespace kiv::system

struct zu_config : kiv::system::Config {};
