// A service's process. The service control manager calls its body on a thread that it starts, and
// tells what is wanted on the one that asked for it; without the manager, the console does.
#include <windows.h>

#include <atomic>

#include "platform/service.h"
#include "platform/service_wish.h"
#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

constexpr DWORD kPatienceMs = 90000;
constexpr DWORD kFailed = 1;  // the service's own number for that

struct Host {
  const wchar_t* name = nullptr;
  bool pauses = false;
  ServiceBody body = nullptr;
  void* argument = nullptr;
  bool good = false;
  SERVICE_STATUS_HANDLE status = nullptr;  // null: no manager
};

Host host;
ServiceWish wish;
std::atomic<bool> is_hosting{false};

// Never closed: a thread of the system may wait for them still.
HANDLE changes() {
  static const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  return event;
}
HANDLE over() {
  static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  return event;
}

void want(ServiceState state) {
  wish.ask(state);
  SetEvent(changes());
}

// Reports nothing itself: a report that came after the last one would be an error.
DWORD WINAPI on_control(DWORD control, DWORD, void*, void*) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
      want(ServiceState::stopping);
      return NO_ERROR;
    case SERVICE_CONTROL_PAUSE:
      want(ServiceState::paused);
      return NO_ERROR;
    case SERVICE_CONTROL_CONTINUE:
      want(ServiceState::running);
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

BOOL WINAPI on_console(DWORD event) {
  want(ServiceState::stopping);
  // After the other events the process ends when this returns.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) WaitForSingleObject(over(), INFINITE);
  return TRUE;
}

void WINAPI service_main(DWORD, wchar_t**) {
  host.status = RegisterServiceCtrlHandlerExW(host.name, on_control, nullptr);
  if (host.status != nullptr) {
    service_report(ServiceState::starting, false);
    host.good = host.body(host.argument);
  }
  SetEvent(over());
}

bool run_at_console() {
  SetConsoleCtrlHandler(on_console, TRUE);
  host.good = host.body(host.argument);
  SetEvent(over());
  SetConsoleCtrlHandler(on_console, FALSE);
  return host.good;
}

bool run_dispatcher(wchar_t* name, Why* why) {
  // A process may ask for the manager once.
  static std::atomic<bool> has_none{false};
  if (has_none) return run_at_console();
  const SERVICE_TABLE_ENTRYW table[] = {{name, service_main}, {nullptr, nullptr}};
  if (StartServiceCtrlDispatcherW(table)) {
    WaitForSingleObject(over(), INFINITE);
    return host.good;
  }
  has_none = GetLastError() == ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;
  return has_none ? run_at_console() : why->is_last_error();
}

SERVICE_STATUS status_of(ServiceState state, bool failed) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  switch (state) {
    case ServiceState::starting:
      status.dwCurrentState = SERVICE_START_PENDING;
      status.dwWaitHint = kPatienceMs;
      break;
    case ServiceState::stopping:
      status.dwCurrentState = SERVICE_STOP_PENDING;
      status.dwWaitHint = kPatienceMs;
      break;
    case ServiceState::running:
    case ServiceState::paused:
      status.dwCurrentState = state == ServiceState::paused ? SERVICE_PAUSED : SERVICE_RUNNING;
      status.dwControlsAccepted = SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN;
      if (host.pauses) status.dwControlsAccepted |= SERVICE_ACCEPT_PAUSE_CONTINUE;
      break;
    default:
      status.dwCurrentState = SERVICE_STOPPED;
      if (failed) status.dwWin32ExitCode = ERROR_SERVICE_SPECIFIC_ERROR;
      if (failed) status.dwServiceSpecificExitCode = kFailed;
  }
  return status;
}

}  // namespace

bool service_host(const char* name, bool pauses, ServiceBody body, void* argument,
                  Why* why) noexcept {
  const Wide wide(name);
  if (!wide || changes() == nullptr || over() == nullptr) return why->is_last_error();
  if (is_hosting.exchange(true)) return why->is("this process is a service already");
  ResetEvent(changes());
  ResetEvent(over());
  wish.begin();
  host = {.name = wide.get(), .pauses = pauses, .body = body, .argument = argument};
  const bool good = run_dispatcher(wide.get(), why);
  is_hosting = false;
  return good;
}

bool service_has_manager() noexcept {
  return host.status != nullptr;
}

void service_report(ServiceState state, bool failed) noexcept {
  if (host.status == nullptr) return;
  SERVICE_STATUS status = status_of(state, failed);
  SetServiceStatus(host.status, &status);
}

ServiceState service_wait() noexcept {
  WaitForSingleObject(changes(), INFINITE);
  return wish.now();
}

void service_end_wait() noexcept {
  wish.end();
  SetEvent(changes());
}

}  // namespace kiv::platform
