// Programs that the system's service manager starts and stops. Texts are UTF-8.
#pragma once

#include <cstddef>
#include <cstdio>

#include "platform/process.h"

namespace kiv::platform {

// Why something failed.
struct Why {
  char text[256];
  // Both set it and give false.
  bool is(const char* reason) noexcept {
    std::snprintf(text, sizeof text, "%s", reason);
    return false;
  }
  bool is_last_error() noexcept {
    last_error_text(text, sizeof text);
    return false;
  }
};

// ---- The manager's list ---------------------------------------------------------------------
//
// Names are letters, digits, ".", "_" and "-", and begin with one of the first two.

struct ServiceEntry {
  const char* name;
  const char* title;
  const char* const* command;  // the program's full path, its arguments, null
  bool automatic;
};

bool is_full_path(const char* path) noexcept;

bool service_install(const ServiceEntry& entry, Why* why) noexcept;
bool service_remove(const char* name, Why* why) noexcept;

enum class ServiceState { unknown = -1, absent, stopped, starting, running, paused, stopping };

ServiceState service_state(const char* name, Why* why) noexcept;

// _start and _stop wait until it is so; the others only tell the service.
enum class ServiceOrder { start, stop, pause, proceed };
bool service_order(const char* name, ServiceOrder order, Why* why) noexcept;

// ---- Being one ------------------------------------------------------------------------------

// Runs body(argument), its result the process's success, on a thread that may be another one, while
// the system can tell what it wants. One at a time. Without a manager that has started it, the
// process runs as any other, and Ctrl-C asks it to stop. `pauses`: does it take that order?
using ServiceBody = bool (*)(void* argument);
bool service_host(const char* name, bool pauses, ServiceBody body, void* argument,
                  Why* why) noexcept;

// For the body: whether a manager has started it, and telling that one how it goes. `failed`, with
// the state `stopped`, is the body's last word.
bool service_has_manager() noexcept;
void service_report(ServiceState state, bool failed) noexcept;

// Waits for what is wanted to be examined again: `running`, `paused`, `stopping`, or `stopped`
// once service_end_wait was called. It may be what it was before.
ServiceState service_wait() noexcept;
void service_end_wait() noexcept;

// ---- Its log --------------------------------------------------------------------------------

enum class Severity { notice, warning, error };
bool service_log(const char* name, Severity severity, const char* text, Why* why) noexcept;

}  // namespace kiv::platform
