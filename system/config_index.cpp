// The index of a configuration, and the changes to text and index.
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "kiv_base/base.h"
#include "system/config.h"

namespace kiv::system {

namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr std::size_t kLineEndLength = 2;

char* copy_of(const char* text, std::size_t length) {
  if (length > INT32_MAX) return nullptr;
  return static_cast<char*>(zu_memdup(text, static_cast<std::int32_t>(length)));
}

// An entry without a place in the text yet; null without memory.
Entry* make_entry(const char* key, std::size_t key_length, const char* value,
                  std::size_t value_length) {
  auto block = base::Owned<char>::allocate(sizeof(Entry) + key_length + 1 + value_length + 1);
  if (!block) return nullptr;
  char* own_key = block.get() + sizeof(Entry);
  char* own_value = own_key + key_length + 1;
  std::memcpy(own_key, key, key_length);
  own_key[key_length] = '\0';
  std::memcpy(own_value, value, value_length);
  own_value[value_length] = '\0';
  return new (block.release()) Entry{{own_key, own_value}, nullptr, nullptr, {}};
}

void replace_value(Entry& entry, char* value) {
  _zu_free(std::exchange(entry.later_value, value));
  entry.pair.value = value;
}

void free_entry(Entry* entry) {
  _zu_free(entry->later_value);
  _zu_free(entry);
}

void KIV_CALL release_entry(void* entry, void*) {
  free_entry(static_cast<Entry*>(entry));
}

void free_group(Group* group) {
  zu_stree_freex(group->keys, release_entry, nullptr);
  _zu_free(group->name);
  _zu_free(group);
}

void KIV_CALL release_group(void* group, void*) {
  free_group(static_cast<Group*>(group));
}

template <typename T>
T* find(zu_stree* tree, const char* key) {
  void* found = nullptr;
  zu_stree_find(tree, key, &found);
  return static_cast<T*>(found);
}

template <typename T>
void KIV_CALL append_to(void* item, void* pending) {
  static_cast<Pending<T>*>(pending)->append(static_cast<T*>(item));
}

template <typename T>
void KIV_CALL drop_from(void* item, void* pending) {
  static_cast<Pending<T>*>(pending)->drop(static_cast<T*>(item));
}

// Names are terminated texts in the index; one that is empty or holds a zero byte is not indexed.
bool can_be_indexed(const Token& name) {
  return name.length > 0 && std::memchr(name.text, '\0', name.length) == nullptr;
}

}  // namespace

Config::~Config() {
  zu_stree_freex(groups_, release_group, nullptr);
}

Group* Config::group(const char* name) const {
  return find<Group>(groups_, name);
}

Entry* Config::entry(const char* group_name, const char* key) const {
  const Group* in = group(group_name);
  return in == nullptr ? nullptr : find<Entry>(in->keys, key);
}

// ---- reading ----

// A new group in the index, without a header yet; null without memory or for an empty name.
Group* Config::add_group(const char* name, std::size_t length) {
  if (groups_ == nullptr) groups_ = zu_stree_malloc();
  auto memory = base::Owned<Group>::allocate();
  if (!memory) return nullptr;
  Group* made =
      new (memory.release()) Group{copy_of(name, length), zu_stree_malloc(), nullptr, nullptr, {}};
  if (made->name != nullptr && made->keys != nullptr &&
      zu_stree_insert(groups_, made->name, made) == 1) {
    return made;
  }
  free_group(made);
  return nullptr;
}

// Finds or makes the group of a header: `group`, null when its name is not indexed. False without
// memory.
bool Config::index_header(Token* header, Group*& group) {
  group = nullptr;
  if (!can_be_indexed(*header)) return true;
  base::Owned<char> name(copy_of(header->text, header->length));
  if (!name) return false;
  group = this->group(name.get());
  if (group == nullptr) group = add_group(name.get(), header->length);
  if (group == nullptr) return false;
  header->text = group->name;
  if (group->first_header == nullptr) group->first_header = header;
  group->last_header = header;
  return true;
}

bool Config::index_key(Group& group, Token* key, Token* value) {
  if (!can_be_indexed(*key)) return true;
  Entry* made = make_entry(key->text, key->length, value->text, value->length);
  if (made == nullptr) return false;
  Entry* indexed = find<Entry>(group.keys, made->pair.key);
  bool done;
  if (indexed != nullptr) {
    free_entry(made);
    char* last_value = copy_of(value->text, value->length);
    done = last_value != nullptr;
    if (done) replace_value(*indexed, last_value);
  } else {
    indexed = made;
    done = zu_stree_insert(group.keys, made->pair.key, made) == 1;
    if (!done) free_entry(made);
  }
  if (done) indexed->value_token = value;
  return done;
}

// ---- changes ----

bool Config::set_group(const char* name) {
  if (group(name) != nullptr) return true;
  Group* made = add_group(name, std::strlen(name));
  if (made == nullptr) return false;
  TokenList lines(pool_);
  Token* header = lines.append(Kind::line_end, kLineEnd, kLineEndLength)
                      ? lines.append(Kind::header, made->name, std::strlen(name))
                      : nullptr;
  if (header == nullptr) {
    remove_from_index(made);
    return false;
  }
  header->added = true;
  made->first_header = made->last_header = header;
  tokens_.splice_after(tokens_.last(), lines);
  return true;
}

bool Config::set_key(const char* group_name, const char* key, const char* value) {
  if (Entry* known = entry(group_name, key)) return update_key(*known, value);
  const bool had_group = group(group_name) != nullptr;
  if (*key == '\0' || !set_group(group_name)) return false;
  Group* in = group(group_name);
  if (add_key(*in, key, value)) return true;
  if (!had_group) {
    tokens_.remove(tokens_.last()->prev);
    tokens_.remove(tokens_.last());
    remove_from_index(in);
  }
  return false;
}

bool Config::update_key(Entry& entry, const char* value) {
  const std::size_t length = std::strlen(value);
  char* own_value = copy_of(value, length);
  if (own_value == nullptr) {
    std::printf("error: __config_UpdateKey() error!\n");
    return false;
  }
  replace_value(entry, own_value);
  entry.value_token->text = own_value;
  entry.value_token->length = static_cast<std::uint32_t>(length);
  return true;
}

// Adds a key that is not there, as the first line below the last header of its group.
bool Config::add_key(Group& group, const char* key, const char* value) {
  const std::size_t key_length = std::strlen(key);
  const std::size_t value_length = std::strlen(value);
  Entry* made = make_entry(key, key_length, value, value_length);
  if (made == nullptr) return false;
  TokenList line(pool_);
  bool complete = line.append(Kind::line_end, kLineEnd, kLineEndLength) &&
                  line.append(Kind::key, made->pair.key, key_length) &&
                  line.append(Kind::equals, "=", 1) &&
                  line.append(Kind::value, made->pair.value, value_length);
  made->value_token = line.last();
  // What stood behind the header on its line would become part of the value.
  const Token* after = group.last_header->next;
  if (complete && after != nullptr && after->kind != Kind::line_end) {
    complete = line.append(Kind::line_end, kLineEnd, kLineEndLength);
  }
  if (!complete || zu_stree_insert(group.keys, key, made) == 0) {
    free_entry(made);
    return false;
  }
  // deliberate: the newest key comes first; files in use are kept in that order.
  tokens_.splice_after(group.last_header, line);
  return true;
}

// Calls visit(token) with every token of the group's sections, headers included; it may remove the
// token and gives the next one.
template <typename Visit>
void Config::visit_sections(const Group& group, Visit visit) {
  bool inside = false;
  for (Token* token = group.first_header; token != nullptr;) {
    if (token->kind == Kind::header) inside = token->text == group.name;
    token = inside ? visit(token) : token->next;
  }
}

bool Config::unset_key(const char* group_name, const char* key) {
  Entry* removed = entry(group_name, key);
  if (removed == nullptr) return false;
  Group* in = group(group_name);
  const std::size_t length = std::strlen(key);
  visit_sections(*in, [&](Token* token) {
    const bool is_key = token->kind == Kind::key && token->length == length &&
                        std::memcmp(token->text, key, length) == 0;
    return is_key ? tokens_.remove_key(token) : token->next;
  });
  pending_entries_.drop(removed);
  zu_stree_delete(in->keys, key);
  free_entry(removed);
  return true;
}

bool Config::unset_group(const char* name) {
  Group* removed = group(name);
  if (removed == nullptr) return false;
  const bool lacks_line_end = !tokens_.ends_with_line_end() || removed->last_header->added;
  bool leaves_text = false;
  const Token* after = nullptr;
  visit_sections(*removed, [&](Token* token) {
    if (token->kind != Kind::header && token->kind != Kind::key) {
      leaves_text = true;
      return token->next;
    }
    const bool is_key = token->kind == Kind::key;
    leaves_text = is_key && leaves_text;
    Token* const next = is_key ? tokens_.remove_key_line(token) : tokens_.remove_header_line(token);
    after = next;
    return next;
  });
  // A last section without a line end of its own takes the one before it, which set_group adds.
  if (lacks_line_end && !leaves_text && after == nullptr) tokens_.remove_last_line_end();
  remove_from_index(removed);
  return true;
}

void Config::remove_from_index(Group* group) {
  zu_stree_foreach(group->keys, drop_from<Entry>, &pending_entries_);
  pending_groups_.drop(group);
  zu_stree_delete(groups_, group->name);
  free_group(group);
}

bool Config::rename_group(const char* name, const char* new_name) {
  Group* renamed = group(name);
  if (renamed == nullptr || group(new_name) != nullptr) return false;
  const std::size_t length = std::strlen(new_name);
  base::Owned<char> own_name(copy_of(new_name, length));
  if (!own_name || zu_stree_insert(groups_, own_name.get(), renamed) == 0) return false;
  visit_sections(*renamed, [&](Token* token) {
    if (token->kind == Kind::header) {
      token->text = own_name.get();
      token->length = static_cast<std::uint32_t>(length);
    }
    return token->next;
  });
  zu_stree_delete(groups_, name);
  _zu_free(std::exchange(renamed->name, own_name.release()));
  return true;
}

// ---- iterations ----

void Config::rewind_groups() {
  pending_groups_.clear();
  zu_stree_foreach(groups_, append_to<Group>, &pending_groups_);
}

bool Config::rewind_keys(const char* group_name) {
  pending_entries_.clear();
  const Group* in = group(group_name);
  if (in == nullptr) return false;
  zu_stree_foreach(in->keys, append_to<Entry>, &pending_entries_);
  return true;
}

}  // namespace kiv::system
