// Modules that a program loads while it runs.
#include "platform/module.h"
#include "base/str.h"
#include "kiv_base/base.h"
#include "kiv_base/system.h"

using namespace kiv;

// A handle is the system's own.

zu_module* KIV_CALL zu_module_load(const char* path) KIV_NOEXCEPT {
  // The system would take an empty path for the program itself.
  if (path == nullptr || *path == '\0') return nullptr;
  return static_cast<zu_module*>(platform::module_open(path));
}

void* KIV_CALL zu_module_GetSymbol(zu_module* module, const char* name) KIV_NOEXCEPT {
  return module == nullptr || name == nullptr ? nullptr : platform::module_find(module, name);
}

char* KIV_CALL zu_module_GetError(void) KIV_NOEXCEPT {
  char text[512];
  platform::module_error(text, sizeof text);
  return kiv::base::copy_text(text).release();
}

int KIV_CALL zu_module_unload(zu_module* module) KIV_NOEXCEPT {
  return module != nullptr && platform::module_close(module);
}
