// Services as systemd has them: a unit file for each, and systemctl, its own command, for the rest.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/file.h"
#include "platform/fs.h"
#include "platform/posix/command.h"
#include "platform/posix/environment.h"
#include "platform/service.h"
#include "platform/text_buffer.h"

namespace kiv::platform {

namespace {

constexpr char kMark[] = "# Written by zu_service_install. zu_service_remove takes it away.\n";
constexpr std::size_t kRoom = 2048;  // of what systemctl prints

bool is_root() {
  return geteuid() == 0;
}

// ---- systemctl

// `systemctl [--user] ARGUMENT... -- NAME.service`; false with the first line of what it prints.
bool systemctl(std::initializer_list<const char*> arguments, const char* name, char (&out)[kRoom],
               Why* why) {
  char unit[128];
  std::snprintf(unit, sizeof unit, "%s.service", name);
  const char* all[16] = {"systemctl", "--no-ask-password", "--no-pager",
                         is_root() ? "--system" : "--user"};
  std::size_t count = 4;
  for (const char* argument : arguments) all[count++] = argument;
  all[count++] = "--";
  all[count] = unit;
  if (run_command(all, out, kRoom) == 0) return true;
  std::size_t line = std::strcspn(out, "\n");
  while (line > 0 && out[line - 1] == '.') --line;
  out[line] = '\0';
  return why->is(line == 0 ? "systemctl has failed" : out);
}

bool systemctl(std::initializer_list<const char*> arguments, const char* name, Why* why) {
  char out[kRoom];
  return systemctl(arguments, name, out, why);
}

// Is there a line that says `key` is `value`?
bool says(const char* out, const char* key, const char* value) {
  char line[64];
  const auto length =
      static_cast<std::size_t>(std::snprintf(line, sizeof line, "%s=%s\n", key, value));
  for (; out != nullptr && *out != '\0'; out = std::strchr(out, '\n')) {
    if (*out == '\n') ++out;
    if (std::strncmp(out, line, length) == 0) return true;
  }
  return false;
}

// Without a word of it, the signal would end the service.
bool takes_pauses(const char* out) {
  return says(out, "StatusText", "running") || says(out, "StatusText", "paused");
}

ServiceState state_in(const char* out) {
  if (says(out, "LoadState", "not-found")) return ServiceState::absent;
  if (says(out, "ActiveState", "activating")) return ServiceState::starting;
  if (says(out, "ActiveState", "deactivating")) return ServiceState::stopping;
  const bool up = says(out, "ActiveState", "active") || says(out, "ActiveState", "reloading");
  if (!up) return ServiceState::stopped;
  return says(out, "StatusText", "paused") ? ServiceState::paused : ServiceState::running;
}

bool show(const char* name, char (&out)[kRoom], Why* why) {
  return systemctl(
      {"show", "--property=LoadState", "--property=ActiveState", "--property=StatusText"}, name,
      out, why);
}

bool tell(const char* name, const char* signal, Why* why) {
  char out[kRoom];
  if (!show(name, out, why)) return false;
  const ServiceState state = state_in(out);
  if (state != ServiceState::running && state != ServiceState::paused) {
    return why->is("it does not run");
  }
  if (!takes_pauses(out)) return why->is("it takes no pauses");
  return systemctl({"kill", "--kill-who=main", signal}, name, why);
}

// ---- The unit file

// A word of a command line, where systemd would see more in some characters.
void append_word(TextBuffer& text, const char* prefix, const char* word) {
  text.append('"');
  text.append(prefix);
  for (; *word != '\0'; ++word) {
    const auto byte = static_cast<unsigned char>(*word);
    char escaped[8];
    if (byte < ' ' || byte == 0x7f) {
      std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
      text.append(escaped);
    } else {
      if (*word == '"' || *word == '\\') text.append('\\');
      if (*word == '%') text.append('%');
      text.append(*word);
    }
  }
  text.append('"');
}

void append_title(TextBuffer& text, const char* title) {
  for (const char* c = title; *c != '\0'; ++c) {
    if (*c == '%') text.append('%');
    text.append(*c);
  }
  // The blank keeps a "\" from joining the next line; it is not part of the title.
  text.append(" \n");
}

void append_unit(TextBuffer& text, const ServiceEntry& entry) {
  text.append(kMark);
  text.append("[Unit]\nDescription=");
  append_title(text, entry.title);
  text.append("After=network.target\n\n[Service]\nType=notify\nTimeoutSec=90\n");
  // With ":" in front no "$" stands for a variable; in the quotes, as it is part of the first word.
  text.append("ExecStart=");
  append_word(text, ":", *entry.command);
  for (const char* const* word = entry.command + 1; *word != nullptr; ++word) {
    text.append(' ');
    append_word(text, "", *word);
  }
  text.append("\n\n[Install]\nWantedBy=");
  text.append(is_root() ? "multi-user.target\n" : "default.target\n");
}

// The file's path; false where the system knows no folder of the user.
bool find_unit(const char* name, TextBuffer& path) {
  const EnvironmentLock lock;
  const char* own = std::getenv("XDG_CONFIG_HOME");
  const char* home = std::getenv("HOME");
  if (is_root()) {
    path.append("/etc/systemd/system/");
  } else if (own != nullptr && *own == '/') {
    path.append(own);
    path.append("/systemd/user/");
  } else if (home != nullptr && *home == '/') {
    path.append(home);
    path.append("/.config/systemd/user/");
  } else {
    return false;
  }
  path.append(name);
  path.append(".service");
  return !path.failed();
}

void make_folders_above(const char* path) {
  TextBuffer above;
  for (; *path != '\0' && !above.failed(); ++path) {
    if (*path == '/' && above.length() > 0) make_directory(above.get(), false);
    above.append(*path);
  }
}

bool is_ours(const char* path) {
  char start[sizeof kMark] = {};
  const File file = open_file(path, {.read = true, .regular = true});
  if (file == kNoFile) return false;
  read_file(file, start, sizeof start - 1);
  close_file(file);
  return std::strcmp(start, kMark) == 0;
}

bool write_unit(const char* path, const ServiceEntry& entry, Why* why) {
  TextBuffer text;
  append_unit(text, entry);
  make_folders_above(path);
  if (!text.failed() && replace_file(path, text.get(), text.length())) return true;
  return why->is_last_error();
}

}  // namespace

bool is_full_path(const char* path) noexcept {
  return *path == '/';
}

bool service_install(const ServiceEntry& entry, Why* why) noexcept {
  FileStatus status;
  TextBuffer path;
  if (!find_unit(entry.name, path)) return why->is("there is no folder for unit files");
  const ServiceState state = service_state(entry.name, why);
  if (state > ServiceState::absent || file_status(path.get(), false, &status)) {
    return why->is("there is one already");
  }
  if (!write_unit(path.get(), entry, why)) return false;
  if (entry.automatic && !systemctl({"enable"}, entry.name, why)) {
    delete_file(path.get());
    return false;
  }
  // A manager that does not run now reads the file when it does.
  Why ignored;
  systemctl({"daemon-reload"}, entry.name, &ignored);
  return true;
}

bool service_remove(const char* name, Why* why) noexcept {
  TextBuffer path;
  FileStatus status;
  if (!find_unit(name, path)) return why->is("there is no folder for unit files");
  if (!file_status(path.get(), false, &status)) return why->is("there is none");
  if (!is_ours(path.get())) return why->is("its unit file is another's");
  Why ignored;
  systemctl({"stop"}, name, &ignored);
  systemctl({"disable"}, name, &ignored);
  if (!delete_file(path.get())) return why->is_last_error();
  systemctl({"daemon-reload"}, name, &ignored);
  return true;
}

ServiceState service_state(const char* name, Why* why) noexcept {
  char out[kRoom];
  return show(name, out, why) ? state_in(out) : ServiceState::unknown;
}

bool service_order(const char* name, ServiceOrder order, Why* why) noexcept {
  switch (order) {
    case ServiceOrder::start:
      return systemctl({"start"}, name, why);
    case ServiceOrder::stop:
      return systemctl({"stop"}, name, why);
    case ServiceOrder::pause:
      return tell(name, "--signal=SIGUSR1", why);
    case ServiceOrder::proceed:
      return tell(name, "--signal=SIGUSR2", why);
  }
  return false;
}

}  // namespace kiv::platform
