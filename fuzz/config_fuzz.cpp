// A configuration: what is read and not changed is written back byte for byte, and what is set is
// there when it is read again. The first bytes choose the edits.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"

namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

std::string printed(zu_config* config) {
  char* const text = zu_config_ToString(config);
  check(text != nullptr);
  const std::string result = text;
  _zu_free(text);
  return result;
}

std::string value_of(zu_config* config, const char* group, const char* key) {
  const char* const value = zu_config_GetKey(config, group, key);
  return value == nullptr ? "none" : value;
}

// A name that the text has itself, or one of its own.
std::string name_in(zu_config* config, unsigned choice) {
  const char* group = nullptr;
  int more = zu_config_GroupGetFirst(config, &group);
  std::string name = "added";
  for (; more == 1 && choice > 0; --choice) {
    name = group;
    more = zu_config_GroupGetNext(config, &group);
  }
  return name;
}

void edit(zu_config* config, unsigned choice) {
  const std::string group = name_in(config, choice / 8);
  const std::string before = printed(config);
  switch (choice % 8) {
    case 0:
    case 1: {
      check(zu_config_SetKey(config, group.c_str(), "key", "some value") == 1);
      check(value_of(config, group.c_str(), "key") == "some value");
      zu_config* const again = zu_config_make1(printed(config).c_str());
      check(again != nullptr && value_of(again, group.c_str(), "key") == "some value");
      zu_config_free(again);
      break;
    }
    case 2:
      check(zu_config_UnsetKey(config, group.c_str(), "key") <= 1 &&
            zu_config_IsKeyExist(config, group.c_str(), "key") == 0);
      break;
    case 3:
      zu_config_UnsetGroup(config, group.c_str());
      check(zu_config_IsGroupExist(config, group.c_str()) == 0);
      break;
    case 4:
      if (zu_config_IsGroupExist(config, "fresh") == 0) {
        check(zu_config_SetGroup(config, "fresh") == 1);
        check(zu_config_UnsetGroup(config, "fresh") == 1 && printed(config) == before);
      }
      break;
    case 5:
      zu_config_RenameGroup(config, group.c_str(), "other");
      break;
    default: {
      const zu_config_entry* key = nullptr;
      const zu_config_entry* value = nullptr;
      if (zu_config_KeyGetFirst(config, group.c_str(), &key, &value) == 1) {
        check(value_of(config, group.c_str(), key->key) == value->value);
        const std::string name = key->key;
        check(zu_config_UnsetKey(config, group.c_str(), name.c_str()) == 1);
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  constexpr std::size_t kEdits = 6;
  if (size < kEdits) return 0;
  const std::string text = std::string(data + kEdits, size - kEdits).c_str();
  zu_config* const config = zu_config_make1(text.c_str());
  check(config != nullptr && printed(config) == text);
  for (std::size_t i = 0; i < kEdits; ++i) edit(config, static_cast<unsigned char>(data[i]));
  const std::string last = printed(config);
  zu_config* const again = zu_config_make1(last.c_str());
  check(printed(again) == last);
  zu_config_free(again);
  zu_config_free(config);
  return 0;
}
