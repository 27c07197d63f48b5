// Configurations as callers see them: files in, answers and files out.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "kiv_base/base.h"
#include "platform/file.h"
#include "system/config.h"
#include "system/file.h"

using namespace kiv;
using system::Group;
using system::Piece;

namespace {

static_assert(sizeof(zu_config_entry) == 2 * sizeof(void*) &&
              offsetof(zu_config_entry, value) == sizeof(void*));

zu_config* make_empty() {
  auto memory = base::Owned<zu_config>::allocate();
  return memory ? new (memory.release()) zu_config : nullptr;
}

zu_config* make_from(base::Owned<char> text, std::size_t length) {
  zu_config* config = text ? make_empty() : nullptr;
  if (config == nullptr || config->load(std::move(text), length)) return config;
  zu_config_free(config);
  return nullptr;
}

template <typename T>
void set_output(T* output, T value) {
  if (output != nullptr) *output = value;
}

}  // namespace

zu_config* KIV_CALL zu_config_make(const char* file_name) KIV_NOEXCEPT {
  if (file_name == nullptr) return make_empty();
  std::size_t length = 0;
  base::Owned<char> text = system::read_whole_file(file_name, true, length);
  return make_from(std::move(text), length);
}

zu_config* KIV_CALL zu_config_make1(const char* text) KIV_NOEXCEPT {
  if (text == nullptr) return make_empty();
  return make_from(base::Owned<char>(zu_strdup(text)), std::strlen(text));
}

void KIV_CALL zu_config_free(zu_config* config) KIV_NOEXCEPT {
  if (config == nullptr) return;
  config->~zu_config();
  _zu_free(config);
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
  zu_config_GroupRewind(config);
  return zu_config_GroupGetNext(config, group);
}

int KIV_CALL zu_config_GroupGetNext(zu_config* config, const char** group) KIV_NOEXCEPT {
  const Group* next = config == nullptr ? nullptr : config->next_group();
  if (next == nullptr) return 0;
  set_output<const char*>(group, next->name());
  return 1;
}

int KIV_CALL zu_config_KeyRewind(zu_config* config, const char* group) KIV_NOEXCEPT {
  return config != nullptr && config->rewind_keys(group);
}

int KIV_CALL zu_config_KeyGetFirst(zu_config* config, const char* group,
                                   const zu_config_entry** key,
                                   const zu_config_entry** value) KIV_NOEXCEPT {
  const Piece* first = zu_config_KeyRewind(config, group) ? config->next_key() : nullptr;
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
  const base::Owned<char> text = config->print(length);
  return text && platform::replace_file(file_name, text.get(), length);
}

char* KIV_CALL __GetProfileString(const char* value) KIV_NOEXCEPT {
  if (value == nullptr) return zu_strdup("");
  const auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
  const char* start = value;
  while (is_blank(*start)) ++start;
  start = *start == '"' ? start + 1 : value;
  const char* const end = start + std::strlen(start);
  const char* last = end;
  while (last != start && (is_blank(last[-1]) || last[-1] == ';' || last[-1] == ',')) --last;
  const bool quoted = last != start && last[-1] == '"';
  const std::ptrdiff_t length = (quoted ? last - 1 : end) - start;
  return length > INT32_MAX ? nullptr
                            : static_cast<char*>(zu_memdup(start, static_cast<int32_t>(length)));
}
