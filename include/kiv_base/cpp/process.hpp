// The process: environment, pid files, modules, and services of the system (kiv_base/system.h).
#ifndef KIV_BASE_CPP_PROCESS_HPP
#define KIV_BASE_CPP_PROCESS_HPP

#include <cstdint>

#include "kiv_base/cpp/text.hpp"
#include "kiv_base/system.h"

namespace kiv {

// Return newly allocated strings; null if there is none, or if out of memory.
inline Text executable_path() noexcept {
  return Text(zu_GetExecutablePath());
}
inline Text environment(TextRef name) noexcept {
  return Text(zu_GetEnv(name.c_str()));
}
inline bool set_environment(TextRef name, TextRef value) noexcept {
  return zu_SetEnv(name.c_str(), value.c_str()) == 1;
}
inline bool unset_environment(TextRef name) noexcept {
  return zu_UnsetEnv(name.c_str()) == 1;
}
inline bool random_bytes(Buffer to) noexcept {
  return zu_RandomBytes(to.data(), to.size()) == 1;
}
inline void clear_memory(Buffer secret) noexcept {
  zu_ClearMemory(secret.data(), secret.size());
}

// ---- Pid files ----------------------------------------------------------------------------------

class PidFileRef;
inline void free_pidfile(zu_pidfile* file) noexcept {
  zu_pidfile_free(file);
}
using PidFile = Owner<PidFileRef, free_pidfile>;

class PidFileRef : public Ref<zu_pidfile> {
 public:
  using Ref::Ref;
  // Returns null, after printing a line, if a process holds it or it cannot be written.
  static PidFile make(TextRef path) noexcept { return PidFile(zu_pidfile_make(path.c_str())); }
  // Returns 0 if no process holds it, -1 if there is no such file.
  static std::int32_t holder(TextRef path) noexcept { return zu_pidfile_read(path.c_str()); }
};

// ---- Modules ------------------------------------------------------------------------------------

class ModuleRef;
inline void unload_module(zu_module* module) noexcept {
  zu_module_unload(module);
}
using Module = Owner<ModuleRef, unload_module>;

class ModuleRef : public Ref<zu_module> {
 public:
  using Ref::Ref;
  // Returns null on failure; error() returns the reason.
  static Module load(TextRef path) noexcept { return Module(zu_module_load(path.c_str())); }
  static Text error() noexcept { return Text(zu_module_GetError()); }
  // Returns null if there is none: module.symbol<int()>("start").
  template <typename Function>
  Function* symbol(TextRef name) const noexcept {
    return reinterpret_cast<Function*>(zu_module_GetSymbol(object_, name.c_str()));
  }
};

// ---- Services -----------------------------------------------------------------------------------

// Runs the program as a service with the handler's public members: `bool start()`, `void work()`,
// `void stop()` and, if it has them, `void pause()` and `void resume()`. Returns false if it
// could not run.
template <typename Handler>
bool run_service(TextRef name, Handler& handler) noexcept {
  zu_service_callbacks calls = {};
  calls.start = [](void* self) noexcept { return static_cast<Handler*>(self)->start() ? 1 : 0; };
  calls.work = [](void* self) noexcept { static_cast<Handler*>(self)->work(); };
  calls.stop = [](void* self) noexcept { static_cast<Handler*>(self)->stop(); };
  if constexpr (requires { handler.pause(); })
    calls.pause = [](void* self) noexcept { static_cast<Handler*>(self)->pause(); };
  if constexpr (requires { handler.resume(); })
    calls.resume = [](void* self) noexcept { static_cast<Handler*>(self)->resume(); };
  return zu_service_run(name.c_str(), &calls, &handler) == 1;
}

}  // namespace kiv

#endif
