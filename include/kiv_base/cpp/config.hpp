// Configuration files, patterns and dates (kiv_base/system.h).
#ifndef KIV_BASE_CPP_CONFIG_HPP
#define KIV_BASE_CPP_CONFIG_HPP

#include <cstdint>
#include <optional>

#include "kiv_base/cpp/text.hpp"
#include "kiv_base/system.h"

namespace kiv {

// ---- Configuration files ------------------------------------------------------------------------

class ConfigRef;
using Config = Owner<ConfigRef, zu_config_free>;

struct ConfigEntry {
  TextRef key, value;
};

// Strings are owned by the configuration until that key or group changes. False where C returns 0.
class ConfigRef : public Ref<zu_config> {
 public:
  using Ref::Ref;
  // Returns null if the file cannot be read or if out of memory.
  static Config open(TextRef file_name) noexcept {
    return Config(zu_config_make(file_name.c_str()));
  }
  static Config parse(TextRef text) noexcept { return Config(zu_config_make1(text.c_str())); }

  // Returns the value, including leading spaces; null if there is none. `unquoted` returns a newly
  // allocated string.
  TextRef value(TextRef group, TextRef key) const noexcept {
    return zu_config_GetKey(object_, group.c_str(), key.c_str());
  }
  static Text unquoted(TextRef value) noexcept { return Text(__GetProfileString(value.c_str())); }
  bool has(TextRef group) const noexcept {
    return zu_config_IsGroupExist(object_, group.c_str()) == 1;
  }
  bool has(TextRef group, TextRef key) const noexcept {
    return zu_config_IsKeyExist(object_, group.c_str(), key.c_str()) == 1;
  }
  bool set(TextRef group, TextRef key, TextRef value) const noexcept {
    return zu_config_SetKey(object_, group.c_str(), key.c_str(), value.c_str()) == 1;
  }
  bool add(TextRef group) const noexcept { return zu_config_SetGroup(object_, group.c_str()) == 1; }
  bool remove(TextRef group) const noexcept {
    return zu_config_UnsetGroup(object_, group.c_str()) == 1;
  }
  bool remove(TextRef group, TextRef key) const noexcept {
    return zu_config_UnsetKey(object_, group.c_str(), key.c_str()) == 1;
  }
  bool rename(TextRef group, TextRef new_name) const noexcept {
    return zu_config_RenameGroup(object_, group.c_str(), new_name.c_str()) == 1;
  }

  // One iteration of groups and one of keys at a time: rewind, then next until nothing is returned.
  bool rewind_groups() const noexcept { return zu_config_GroupRewind(object_) == 1; }
  TextRef next_group() const noexcept {
    const char* group = nullptr;
    zu_config_GroupGetNext(object_, &group);
    return group;
  }
  bool rewind_keys(TextRef group) const noexcept {
    return zu_config_KeyRewind(object_, group.c_str()) == 1;
  }
  std::optional<ConfigEntry> next_key() const noexcept {
    const char *key = nullptr, *value = nullptr;
    if (zu_config_KeyGetNext(object_, &key, &value) != 1) return {};
    return ConfigEntry{key, value};
  }

  Text text() const noexcept { return Text(zu_config_ToString(object_)); }
  bool save(TextRef file_name) const noexcept {
    return zu_config_SaveToFile(object_, file_name.c_str()) == 1;
  }
};

// ---- Patterns -----------------------------------------------------------------------------------

class PatternRef;
inline void free_pattern(const zu_pattern* pattern) noexcept {
  zu_pattern_free(const_cast<zu_pattern*>(pattern));
}
using Pattern = Owner<PatternRef, free_pattern>;

// Any number of threads may match. Case is folded only in simple patterns: see zu_pattern_match.
class PatternRef : public Ref<const zu_pattern> {
 public:
  using Ref::Ref;
  // Returns null for null or if out of memory.
  static Pattern make(TextRef text) noexcept { return Pattern(zu_pattern_make(text.c_str())); }

  bool matches(TextRef text) const noexcept {
    return zu_pattern_match_string(object_, text.c_str()) == 1;
  }
  bool matches_ignoring_case(TextRef text) const noexcept {
    return zu_pattern_match_istring(object_, text.c_str()) == 1;
  }
  bool equals(PatternRef other) const noexcept {
    return zu_pattern_equal(object_, other.get()) == 1;
  }
};

// ---- Dates --------------------------------------------------------------------------------------

// Returns -1 if no form matches. Both treat the time as local, whatever "GMT" says.
inline zu_time parse_date(TextRef text) noexcept {
  return zu_DateParse(text.c_str());
}
inline Text date_text(zu_time time) noexcept {
  return Text(zu_GetGMTString(time));
}
// Returns "1994.11.06 - 08:49:37", in local time.
inline TextRef local_date(char (&to)[22]) noexcept {
  zu_GetLocalDate(to);
  return to;
}

}  // namespace kiv

#endif
