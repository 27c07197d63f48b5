// Lines for the event log.
#include <windows.h>

#include <cstdio>
#include <cwchar>

#include "platform/service.h"
#include "platform/win32/event_source.h"
#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

// A program that comes with the system: its message 1 is the line alone.
constexpr wchar_t kMessages[] = L"%SystemRoot%\\System32\\EventCreate.exe";
constexpr DWORD kMessage = 1;

struct SourceKey {
  wchar_t path[256];
  explicit SourceKey(const wchar_t* name) {
    std::swprintf(path, 256, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\%ls",
                  name);
  }
};

WORD kind_of(Severity severity) {
  if (severity == Severity::notice) return EVENTLOG_INFORMATION_TYPE;
  return severity == Severity::warning ? EVENTLOG_WARNING_TYPE : EVENTLOG_ERROR_TYPE;
}

}  // namespace

void event_source_add(const wchar_t* name) noexcept {
  const SourceKey source(name);
  HKEY key;
  DWORD outcome = 0;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, source.path, 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                      &outcome) != ERROR_SUCCESS) {
    return;
  }
  if (outcome == REG_CREATED_NEW_KEY) {
    const DWORD kinds = EVENTLOG_INFORMATION_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_ERROR_TYPE;
    RegSetValueExW(key, L"EventMessageFile", 0, REG_EXPAND_SZ,
                   reinterpret_cast<const BYTE*>(kMessages), sizeof kMessages);
    RegSetValueExW(key, L"TypesSupported", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&kinds),
                   sizeof kinds);
  }
  RegCloseKey(key);
}

void event_source_remove(const wchar_t* name) noexcept {
  const SourceKey source(name);
  HKEY key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, source.path, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  wchar_t messages[sizeof kMessages / sizeof *kMessages + 1] = {};
  DWORD size = sizeof messages - sizeof *messages;
  const LSTATUS read = RegQueryValueExW(key, L"EventMessageFile", nullptr, nullptr,
                                        reinterpret_cast<BYTE*>(messages), &size);
  RegCloseKey(key);
  if (read == ERROR_SUCCESS && std::wcscmp(messages, kMessages) == 0) {
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, source.path);
  }
}

bool service_log(const char* name, Severity severity, const char* text, Why* why) noexcept {
  const Wide wide_name(name), wide_text(text);
  if (!wide_name || !wide_text) return why->is_last_error();
  const HANDLE log = RegisterEventSourceW(nullptr, wide_name.get());
  if (log == nullptr) return why->is_last_error();
  const wchar_t* lines[] = {wide_text.get()};
  const bool written =
      ReportEventW(log, kind_of(severity), 0, kMessage, nullptr, 1, 0, lines, nullptr);
  if (!written) why->is_last_error();
  DeregisterEventSource(log);
  return written;
}

}  // namespace kiv::platform
