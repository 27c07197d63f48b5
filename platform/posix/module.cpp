#include "platform/module.h"

#include <dlfcn.h>

#include <cstdio>

namespace kiv::platform {

namespace {

thread_local char last_text[512];

template <typename T>
T noted(T result, bool failed) {
  const char* why = failed ? dlerror() : nullptr;
  if (failed) std::snprintf(last_text, sizeof last_text, "%s", why == nullptr ? "no value" : why);
  return result;
}

}  // namespace

void* module_open(const char* path) noexcept {
  void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  return noted(module, module == nullptr);
}

void* module_find(void* module, const char* name) noexcept {
  void* symbol = dlsym(module, name);
  return noted(symbol, symbol == nullptr);
}

bool module_close(void* module) noexcept {
  const bool closed = dlclose(module) == 0;
  return noted(closed, !closed);
}

void module_error(char* out, std::size_t room) noexcept {
  std::snprintf(out, room, "%s", last_text);
}

}  // namespace kiv::platform
