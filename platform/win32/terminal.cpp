#include "platform/terminal.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <iterator>

#include "platform/win32/wide.h"

namespace kiv::platform {

namespace {

constexpr wchar_t kCtrlZ = 0x1a;

class Console {
 public:
  explicit Console(const wchar_t* name)
      : handle_(CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                            nullptr, OPEN_EXISTING, 0, nullptr)) {}
  ~Console() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  HANDLE handle() const { return handle_; }
  bool show(const wchar_t* text) const {
    DWORD written = 0;
    return WriteConsoleW(handle_, text, static_cast<DWORD>(lstrlenW(text)), &written, nullptr);
  }

 private:
  HANDLE handle_;
};

std::atomic<HANDLE> changed_console{INVALID_HANDLE_VALUE};
std::atomic<DWORD> mode_before{0};

// Runs on a thread of the system, in front of the program's own handlers, which may end it.
BOOL WINAPI restore_at_break(DWORD) {
  const HANDLE console = changed_console;
  if (console != INVALID_HANDLE_VALUE) SetConsoleMode(console, mode_before);
  return FALSE;
}

// The console in the mode of a line that is typed, while this lives.
class LineMode {
 public:
  LineMode(HANDLE console, bool echo) : console_(console) {
    DWORD before = 0;
    if (!GetConsoleMode(console, &before)) return;
    mode_before = before;
    changed_console = console;
    SetConsoleCtrlHandler(restore_at_break, TRUE);
    const DWORD line = before | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT;
    const DWORD shown = DWORD{ENABLE_ECHO_INPUT};
    works_ = SetConsoleMode(console, echo ? line | shown : line & ~shown);
    if (works_ && !echo) FlushConsoleInputBuffer(console);
  }
  ~LineMode() {
    if (changed_console == INVALID_HANDLE_VALUE) return;
    SetConsoleMode(console_, mode_before);
    SetConsoleCtrlHandler(restore_at_break, FALSE);
    changed_console = INVALID_HANDLE_VALUE;
  }
  LineMode(const LineMode&) = delete;
  LineMode& operator=(const LineMode&) = delete;

  bool works() const { return works_; }

 private:
  HANDLE console_;
  bool works_ = false;
};

struct Line {
  wchar_t text[1024];
  std::size_t length = 0;  // beyond the room when it did not fit
  ~Line() { SecureZeroMemory(text, sizeof text); }
};

// Up to the line end, all of it.
Typed read_wide(HANDLE console, Line& line) {
  for (;;) {
    wchar_t character = 0;
    DWORD count = 0;
    if (!ReadConsoleW(console, &character, 1, &count, nullptr)) return Typed::ended;
    if (count == 0) return Typed::interrupted;
    if (character == L'\n') return Typed::line;
    if (line.length < std::size(line.text)) line.text[line.length] = character;
    ++line.length;
  }
}

Typed read_line(HANDLE console, char* out, std::size_t room) {
  Line line;
  const Typed read = read_wide(console, line);
  if (read != Typed::line) return read;
  if (line.length > std::size(line.text)) return Typed::too_long;
  if (line.length > 0 && line.text[line.length - 1] == L'\r') --line.length;
  if (line.length > 0 && line.text[0] == kCtrlZ) return Typed::ended;
  int length = 0;
  if (line.length > 0) {
    // With no room at all the system would tell how much it takes.
    if (room == 1) return Typed::too_long;
    length = WideCharToMultiByte(CP_UTF8, 0, line.text, static_cast<int>(line.length), out,
                                 static_cast<int>(room - 1), nullptr, nullptr);
    if (length <= 0) return Typed::too_long;
  }
  out[length] = '\0';
  return Typed::line;
}

}  // namespace

Typed terminal_read_line(const char* prompt, bool echo, char* out, std::size_t room) noexcept {
  const Console in(L"CONIN$"), screen(L"CONOUT$");
  const Wide text(prompt);
  const LineMode mode(in.handle(), echo);
  if (!mode.works() || !text || !screen.show(text.get())) return Typed::no_terminal;
  const Typed result = read_line(in.handle(), out, room);
  if (!echo) screen.show(L"\r\n");
  return result;
}

}  // namespace kiv::platform
