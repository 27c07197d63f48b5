// Services in the manager's list, and lines in the system's log.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/ascii.h"
#include "base/str.h"
#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "platform/service.h"
#include "system/service.h"

using namespace kiv;

namespace kiv::system {

int service_failure(const char* name, const char* why, const char* function) {
  std::printf("error: '%s': %s in %s()!\n", name, why, function);
  return 0;
}

bool is_service_name(const char* name, const char* function) {
  constexpr std::size_t kLongest = 100;
  if (name == nullptr) return false;
  const auto is_plain = [](char c) {
    return base::is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  };
  bool good = is_plain(*name) && std::strlen(name) <= kLongest;
  for (const char* c = name; good && *c != '\0'; ++c) {
    good = is_plain(*c) || std::strchr("._-", *c) != nullptr;
  }
  return good || service_failure(name, "this is no name for a service", function);
}

}  // namespace kiv::system

namespace {

using system::service_failure;

int order(const char* name, platform::ServiceOrder what, const char* function) {
  if (!system::is_service_name(name, function)) return 0;
  platform::Why why;
  return platform::service_order(name, what, &why) || service_failure(name, why.text, function);
}

bool has_control(const char* text) {
  for (; *text != '\0'; ++text) {
    if (static_cast<unsigned char>(*text) < ' ' || *text == '\x7f') return true;
  }
  return false;
}

platform::Severity severity_of(int kind) {
  if (kind == ZU_SERVICE_NOTICE) return platform::Severity::notice;
  return kind == ZU_SERVICE_WARN ? platform::Severity::warning : platform::Severity::error;
}

}  // namespace

int KIV_CALL zu_service_install(const char* name, const char* title, const char* const* command,
                                int automatic) KIV_NOEXCEPT {
  if (title == nullptr || command == nullptr || *command == nullptr) return 0;
  if (!system::is_service_name(name, __func__)) return 0;
  if (has_control(title)) return service_failure(name, "a title is one line", __func__);
  if (!platform::is_full_path(*command)) {
    return service_failure(name, "a program is named by its full path", __func__);
  }
  platform::Why why;
  const platform::ServiceEntry entry{name, title, command, automatic != 0};
  return platform::service_install(entry, &why) || service_failure(name, why.text, __func__);
}

int KIV_CALL zu_service_remove(const char* name) KIV_NOEXCEPT {
  if (!system::is_service_name(name, __func__)) return 0;
  platform::Why why;
  return platform::service_remove(name, &why) || service_failure(name, why.text, __func__);
}

int KIV_CALL zu_service_start(const char* name) KIV_NOEXCEPT {
  return order(name, platform::ServiceOrder::start, __func__);
}

int KIV_CALL zu_service_stop(const char* name) KIV_NOEXCEPT {
  return order(name, platform::ServiceOrder::stop, __func__);
}

int KIV_CALL zu_service_pause(const char* name) KIV_NOEXCEPT {
  return order(name, platform::ServiceOrder::pause, __func__);
}

int KIV_CALL zu_service_continue(const char* name) KIV_NOEXCEPT {
  return order(name, platform::ServiceOrder::proceed, __func__);
}

int KIV_CALL zu_service_query(const char* name) KIV_NOEXCEPT {
  if (!system::is_service_name(name, __func__)) return -1;
  platform::Why why;
  const platform::ServiceState state = platform::service_state(name, &why);
  if (state == platform::ServiceState::unknown) service_failure(name, why.text, __func__);
  return static_cast<int>(state);
}

int KIV_CALL zu_service_log(const char* name, int kind, const char* text) KIV_NOEXCEPT {
  if (text == nullptr || kind < ZU_SERVICE_NOTICE || kind > ZU_SERVICE_ERROR) return 0;
  if (!system::is_service_name(name, __func__)) return 0;
  const base::RawStorage<char> line = base::copy_text(text);
  if (!line) return 0;
  for (char* c = line.get(); *c != '\0'; ++c) {
    if (static_cast<unsigned char>(*c) < ' ' || *c == '\x7f') *c = ' ';
  }
  platform::Why why;
  return platform::service_log(name, severity_of(kind), line.get(), &why) ||
         service_failure(name, why.text, __func__);
}
