// Look-up in a configuration, the changes to text and index, and iterations.
#include <cstdio>
#include <cstring>
#include <utility>

#include "kiv_base/base.h"
#include "system/config.h"

namespace kiv::system {

namespace {

bool equals(const char* a, std::size_t a_length, const char* b, std::size_t b_length) {
  return a_length == b_length && std::memcmp(a, b, a_length) == 0;
}

void free_name(const Group& group) {
  if (group.own_text) base::deallocate(const_cast<char*>(group.text));
}

// Sets the name of the group to a copy. False, with nothing changed, if out of memory.
bool set_name(Group& group, const char* name) {
  const std::size_t length = std::strlen(name);
  auto text = base::copy_text(name, length);
  if (!text) return false;
  free_name(group);
  group.text = text.release();
  group.length = static_cast<std::uint32_t>(length);
  group.own_text = true;
  return true;
}

}  // namespace

Config::~Config() {
  groups_.for_each([](const Group* group) { free_name(*group); });
}

// ---- look-up ----

Group** Config::find_group(const char* name, std::size_t length) const {
  return groups_.find(hash_of(name, length, nullptr), [&](const Group& group) {
    return equals(group.text, group.length, name, length);
  });
}

Piece** Config::find_key(const Group& group, const char* name, std::size_t length) const {
  return keys_.find(hash_of(name, length, &group), [&](const Piece& key) {
    return key.group == &group && equals(key.pair.key, key.length, name, length);
  });
}

Group* Config::group(const char* name) const {
  Group** const found = name != nullptr ? find_group(name, std::strlen(name)) : nullptr;
  return found != nullptr ? *found : nullptr;
}

Piece* Config::key(const char* group_name, const char* name) const {
  const Group* const in = group(group_name);
  if (in == nullptr || name == nullptr) return nullptr;
  Piece** const found = find_key(*in, name, std::strlen(name));
  return found != nullptr ? *found : nullptr;
}

// ---- changes ----

bool Config::set_group(const char* name) {
  if (group(name) != nullptr) return true;
  if (*name == '\0' || !groups_.prepare()) return false;
  Group* const made = group_pool_.take_record();
  if (made == nullptr) return false;
  made->first_header = made->last_header = set_name(*made, name) ? text_.append_header() : nullptr;
  if (made->last_header == nullptr) {
    release(made);
    return false;
  }
  made->last_header->group = made;
  groups_.insert(made);
  return true;
}

bool Config::set_key(const char* group_name, const char* name, const char* value) {
  if (Piece* const known = key(group_name, name)) {
    if (text_.set_value(known, value)) return true;
    std::printf("error: __config_UpdateKey() error!\n");
    return false;
  }
  if (*name == '\0') return false;
  const Group* const known_group = group(group_name);
  const Piece* const header = known_group != nullptr ? known_group->last_header : nullptr;
  Piece* const made = text_.make_key(name, value, header);
  if (made == nullptr) return false;
  if (!keys_.prepare() || !set_group(group_name)) {
    text_.release(made);
    return false;
  }
  made->group = group(group_name);
  keys_.insert(made);
  // deliberate: the newest key comes first; files in use are kept in that order.
  text_.insert_below(made->group->last_header, made);
  return true;
}

void Config::release(Group* group) {
  free_name(*group);
  group->removed = true;
  if (!group->pending) group_pool_.give_back(group);
}

// Takes all keys of a name out of the index and returns them as a chain, in the order of the text.
Piece* Config::take_from_index(const Group& group, const char* name, std::size_t length) {
  Piece* taken = nullptr;
  while (Piece** const link = find_key(group, name, length)) {
    Piece* const key = *link;
    keys_.remove(link);
    key->chain = std::exchange(taken, key);
    key->group = nullptr;
  }
  return taken;
}

bool Config::unset_key(const char* group_name, const char* name) {
  const Piece* const known = key(group_name, name);
  if (known == nullptr) return false;
  Piece* taken = take_from_index(*known->group, name, known->length);
  while (taken != nullptr) text_.remove_key(std::exchange(taken, taken->chain));
  return true;
}

bool Config::unset_group(const char* name) {
  Group* const removed = group(name);
  if (removed == nullptr) return false;
  const bool lacks_line_end = !text_.ends_with_line_end() || removed->last_header->added;
  bool leaves_text = false;
  const Piece* after = nullptr;
  for (Piece* header = removed->first_header; header != nullptr;) {
    Piece* piece = text_.remove_header_line(std::exchange(header, header->chain));
    after = piece;
    leaves_text = false;
    while (piece != nullptr && piece->kind != Kind::header) {
      if (piece->kind != Kind::key) {
        leaves_text = true;
        piece = piece->next;
        continue;
      }
      if (piece->group != nullptr) take_from_index(*removed, piece->pair.key, piece->length);
      after = piece = text_.remove_key_line(piece);
    }
  }
  // A last section without a line end of its own takes the one before it, which set_group adds.
  if (lacks_line_end && !leaves_text && after == nullptr) text_.remove_last_line_end();
  groups_.remove(find_group(removed->text, removed->length));
  release(removed);
  return true;
}

bool Config::rename_group(const char* name, const char* new_name) {
  Group* const renamed = group(name);
  if (renamed == nullptr || *new_name == '\0' || group(new_name) != nullptr) return false;
  Group** const link = find_group(renamed->text, renamed->length);
  if (!set_name(*renamed, new_name)) return false;
  groups_.remove(link);
  groups_.insert(renamed);
  return true;
}

// ---- iterations ----

void Config::rewind_groups() {
  pending_groups_.clear(group_pool_);
  groups_.for_each([this](Group* group) { pending_groups_.add(group); });
  pending_groups_.sort();
}

bool Config::rewind_keys(const char* group_name) {
  pending_keys_.clear(text_.pool());
  const Group* const in = group(group_name);
  if (in == nullptr) return false;
  for (const Piece* header = in->first_header; header != nullptr; header = header->chain) {
    for (Piece* below = header->next; below != nullptr && below->kind != Kind::header;
         below = below->next) {
      if (below->group != nullptr && !below->shadowed) pending_keys_.add(below);
    }
  }
  pending_keys_.sort();
  return true;
}

}  // namespace kiv::system
