// Services in the list of the service control manager.
#include <windows.h>

#include "platform/service.h"
#include "platform/text_buffer.h"
#include "platform/win32/event_source.h"
#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

constexpr ULONGLONG kPatienceMs = 90000;
constexpr DWORD kLookMs = 20;

class Handle {
 public:
  explicit Handle(SC_HANDLE handle) : handle_(handle) {}
  ~Handle() {
    if (handle_ != nullptr) CloseServiceHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  explicit operator bool() const { return handle_ != nullptr; }
  SC_HANDLE get() const { return handle_; }

 private:
  SC_HANDLE handle_;
};

SC_HANDLE open_service(const char* name, DWORD access) {
  const Wide wide(name);
  const Handle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  return wide && manager ? OpenServiceW(manager.get(), wide.get(), access) : nullptr;
}

bool query(SC_HANDLE service, SERVICE_STATUS_PROCESS* status) {
  DWORD size = 0;
  return QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(status),
                              sizeof *status, &size);
}

ServiceState state_of(DWORD state) {
  switch (state) {
    case SERVICE_START_PENDING:
      return ServiceState::starting;
    case SERVICE_RUNNING:
    case SERVICE_PAUSE_PENDING:
      return ServiceState::running;
    case SERVICE_PAUSED:
    case SERVICE_CONTINUE_PENDING:
      return ServiceState::paused;
    case SERVICE_STOP_PENDING:
      return ServiceState::stopping;
    default:
      return ServiceState::stopped;
  }
}

// Waits until a service is in none of the states between.
bool settle(SC_HANDLE service, SERVICE_STATUS_PROCESS* status, Why* why) {
  const ULONGLONG end = GetTickCount64() + kPatienceMs;
  for (;;) {
    if (!query(service, status)) return why->is_last_error();
    const ServiceState state = state_of(status->dwCurrentState);
    if (state != ServiceState::starting && state != ServiceState::stopping) return true;
    if (GetTickCount64() >= end) return why->is("it takes too long");
    Sleep(kLookMs);
  }
}

bool start(SC_HANDLE service, Why* why) {
  if (!StartServiceW(service, 0, nullptr) && GetLastError() != ERROR_SERVICE_ALREADY_RUNNING) {
    return why->is_last_error();
  }
  SERVICE_STATUS_PROCESS status;
  if (!settle(service, &status, why)) return false;
  if (state_of(status.dwCurrentState) != ServiceState::stopped) return true;
  if (status.dwWin32ExitCode == ERROR_SUCCESS) return why->is("it has ended already");
  SetLastError(status.dwWin32ExitCode);
  return why->is_last_error();
}

bool stop(SC_HANDLE service, Why* why) {
  SERVICE_STATUS told;
  // It may be on its way already, or take no orders before it has set up.
  for (const ULONGLONG end = GetTickCount64() + kPatienceMs;; Sleep(kLookMs)) {
    SERVICE_STATUS_PROCESS status;
    if (!settle(service, &status, why)) return false;
    if (status.dwCurrentState == SERVICE_STOPPED) return true;
    if (!ControlService(service, SERVICE_CONTROL_STOP, &told) &&
        GetLastError() != ERROR_SERVICE_NOT_ACTIVE &&
        GetLastError() != ERROR_SERVICE_CANNOT_ACCEPT_CTRL) {
      return why->is_last_error();
    }
    if (GetTickCount64() >= end) return why->is("it takes too long");
  }
}

bool tell(SC_HANDLE service, DWORD control, Why* why) {
  SERVICE_STATUS told;
  return ControlService(service, control, &told) || why->is_last_error();
}

DWORD access_for(ServiceOrder order) {
  if (order == ServiceOrder::start) return SERVICE_START | SERVICE_QUERY_STATUS;
  if (order == ServiceOrder::stop) return SERVICE_STOP | SERVICE_QUERY_STATUS;
  return SERVICE_PAUSE_CONTINUE;
}

// An argument in quotes, so that the program finds it again: "\" counts only in front of a quote.
void append_word(TextBuffer& line, const char* word) {
  line.append(" \"");
  std::size_t slashes = 0;
  for (; *word != '\0'; ++word) {
    if (*word == '"') {
      for (std::size_t i = 0; i <= slashes; ++i) line.append('\\');
    }
    slashes = *word == '\\' ? slashes + 1 : 0;
    line.append(*word);
  }
  for (std::size_t i = 0; i < slashes; ++i) line.append('\\');
  line.append('"');
}

void append_command(TextBuffer& line, const char* const* command) {
  line.append('"');
  for (const char* c = *command; *c != '\0'; ++c) line.append(*c == '/' ? '\\' : *c);
  line.append('"');
  for (++command; *command != nullptr; ++command) append_word(line, *command);
}

bool is_slash(char c) {
  return c == '/' || c == '\\';
}

}  // namespace

bool is_full_path(const char* path) noexcept {
  const char drive = static_cast<char>(path[0] | 0x20);
  if (drive >= 'a' && drive <= 'z' && path[1] == ':') return is_slash(path[2]);
  return is_slash(path[0]) && is_slash(path[1]);
}

bool service_install(const ServiceEntry& entry, Why* why) noexcept {
  TextBuffer line;
  append_command(line, entry.command);
  if (line.failed()) return why->is("memory has run out");
  const Wide name(entry.name), title(*entry.title == '\0' ? entry.name : entry.title);
  const Wide command(line.get());
  if (!name || !title || !command) return why->is_last_error();
  const Handle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE));
  if (!manager) return why->is_last_error();
  const DWORD when = entry.automatic ? SERVICE_AUTO_START : SERVICE_DEMAND_START;
  const Handle made(CreateServiceW(manager.get(), name.get(), title.get(), SERVICE_QUERY_STATUS,
                                   SERVICE_WIN32_OWN_PROCESS, when, SERVICE_ERROR_NORMAL,
                                   command.get(), nullptr, nullptr, nullptr, nullptr, nullptr));
  if (!made) return why->is_last_error();
  event_source_add(name.get());
  return true;
}

bool service_remove(const char* name, Why* why) noexcept {
  const Handle service(open_service(name, DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS));
  if (!service) return why->is_last_error();
  if (!stop(service.get(), why)) return false;
  if (!DeleteService(service.get())) return why->is_last_error();
  const Wide wide(name);
  if (wide) event_source_remove(wide.get());
  return true;
}

ServiceState service_state(const char* name, Why* why) noexcept {
  const Handle service(open_service(name, SERVICE_QUERY_STATUS));
  if (!service && GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST) return ServiceState::absent;
  SERVICE_STATUS_PROCESS status;
  if (service && query(service.get(), &status)) return state_of(status.dwCurrentState);
  why->is_last_error();
  return ServiceState::unknown;
}

bool service_order(const char* name, ServiceOrder order, Why* why) noexcept {
  const Handle service(open_service(name, access_for(order)));
  if (!service) return why->is_last_error();
  switch (order) {
    case ServiceOrder::start:
      return start(service.get(), why);
    case ServiceOrder::stop:
      return stop(service.get(), why);
    case ServiceOrder::pause:
      return tell(service.get(), SERVICE_CONTROL_PAUSE, why);
    case ServiceOrder::proceed:
      return tell(service.get(), SERVICE_CONTROL_CONTINUE, why);
  }
  return false;
}

}  // namespace kiv::platform
