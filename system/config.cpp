// Configurations as callers see them: files in, answers and files out.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/layout.h"
#include "kiv_base/base.h"
#include "platform/file.h"
#include "system/config.h"
#include "system/file.h"

using namespace kiv;
using system::Group;
using system::Piece;

namespace {

KIV_LAYOUT(zu_config_entry, 8, value, 4);

zu_config* make_from(base::RawStorage<char> text, std::size_t length) {
  auto config = base::make<zu_config>();
  return text && config && config->load(std::move(text), length) ? config.release() : nullptr;
}

template <typename T>
void set_output(T* output, T value) {
  if (output != nullptr) *output = value;
}

bool hand_out(const Group* group, const char** name) {
  if (group == nullptr) return false;
  set_output<const char*>(name, group->name());
  return true;
}

// What stands between a double quote at the start of a value and one at its end.
std::string_view without_quotes(std::string_view value) {
  const std::size_t start = value.find_first_not_of(" \t");
  if (start != value.npos && value[start] == '"') value.remove_prefix(start + 1);
  const std::size_t last = value.find_last_not_of(" \t;,");
  return last != value.npos && value[last] == '"' ? value.substr(0, last) : value;
}

}  // namespace

zu_config* KIV_CALL zu_config_make(const char* file_name) KIV_NOEXCEPT {
  if (file_name == nullptr) return base::make<zu_config>().release();
  std::size_t length = 0;
  base::RawStorage<char> text = system::read_whole_file(file_name, true, length);
  return make_from(std::move(text), length);
}

zu_config* KIV_CALL zu_config_make1(const char* text) KIV_NOEXCEPT {
  if (text == nullptr) return base::make<zu_config>().release();
  const std::size_t length = std::strlen(text);
  return make_from(base::copy_text(text, length), length);
}

void KIV_CALL zu_config_free(zu_config* config) KIV_NOEXCEPT {
  base::destroy(config);
}

const char* KIV_CALL zu_config_GetKey(zu_config* config, const char* group,
                                      const char* key) KIV_NOEXCEPT {
  const Piece* found = config == nullptr ? nullptr : config->key(group, key);
  return found == nullptr ? nullptr : found->pair.value;
}

int KIV_CALL zu_config_IsKeyExist(zu_config* config, const char* group,
                                  const char* key) KIV_NOEXCEPT {
  return config != nullptr && config->key(group, key) != nullptr;
}

int KIV_CALL zu_config_IsGroupExist(zu_config* config, const char* group) KIV_NOEXCEPT {
  return config != nullptr && config->group(group) != nullptr;
}

int KIV_CALL zu_config_SetKey(zu_config* config, const char* group, const char* key,
                              const char* value) KIV_NOEXCEPT {
  if (config == nullptr || group == nullptr || key == nullptr || value == nullptr) return 0;
  return config->set_key(group, key, value);
}

int KIV_CALL zu_config_SetGroup(zu_config* config, const char* group) KIV_NOEXCEPT {
  return config != nullptr && group != nullptr && config->set_group(group);
}

int KIV_CALL zu_config_UnsetKey(zu_config* config, const char* group,
                                const char* key) KIV_NOEXCEPT {
  return config != nullptr && config->unset_key(group, key);
}

int KIV_CALL zu_config_UnsetGroup(zu_config* config, const char* group) KIV_NOEXCEPT {
  return config != nullptr && config->unset_group(group);
}

int KIV_CALL zu_config_RenameGroup(zu_config* config, const char* group,
                                   const char* new_name) KIV_NOEXCEPT {
  return config != nullptr && new_name != nullptr && config->rename_group(group, new_name);
}

int KIV_CALL zu_config_GroupRewind(zu_config* config) KIV_NOEXCEPT {
  if (config == nullptr) return 0;
  config->rewind_groups();
  return 1;
}

int KIV_CALL zu_config_GroupGetFirst(zu_config* config, const char** group) KIV_NOEXCEPT {
  if (config == nullptr) return 0;
  config->rewind_groups();
  return hand_out(config->next_group(), group);
}

int KIV_CALL zu_config_GroupGetNext(zu_config* config, const char** group) KIV_NOEXCEPT {
  return config != nullptr && hand_out(config->next_group(), group);
}

int KIV_CALL zu_config_KeyRewind(zu_config* config, const char* group) KIV_NOEXCEPT {
  return config != nullptr && config->rewind_keys(group);
}

int KIV_CALL zu_config_KeyGetFirst(zu_config* config, const char* group,
                                   const zu_config_entry** key,
                                   const zu_config_entry** value) KIV_NOEXCEPT {
  if (config == nullptr || !config->rewind_keys(group)) return 0;
  const Piece* first = config->next_key();
  if (first == nullptr) return 0;
  // deliberate: the pair through both outputs, unlike zu_config_KeyGetNext; callers read it so.
  set_output(key, &first->pair);
  set_output(value, &first->pair);
  return 1;
}

int KIV_CALL zu_config_KeyGetNext(zu_config* config, const char** key,
                                  const char** value) KIV_NOEXCEPT {
  const Piece* next = config == nullptr ? nullptr : config->next_key();
  if (next == nullptr) return 0;
  set_output(key, next->pair.key);
  set_output(value, next->pair.value);
  return 1;
}

char* KIV_CALL zu_config_ToString(zu_config* config) KIV_NOEXCEPT {
  std::size_t length;
  return config == nullptr ? nullptr : config->print(length).release();
}

int KIV_CALL zu_config_SaveToFile(zu_config* config, const char* file_name) KIV_NOEXCEPT {
  if (config == nullptr || file_name == nullptr) return 0;
  std::size_t length;
  const base::RawStorage<char> text = config->print(length);
  return text && platform::replace_file(file_name, text.get(), length);
}

char* KIV_CALL __GetProfileString(const char* value) KIV_NOEXCEPT {
  const std::string_view plain = without_quotes(value != nullptr ? value : "");
  return base::copy_text(plain.data(), plain.size()).release();
}
