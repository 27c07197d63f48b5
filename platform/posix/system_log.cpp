// Lines for syslog, sent to its socket: the C library's own function would keep the name for the
// whole process, and tells no failure.
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "platform/clock.h"
#include "platform/posix/uninterrupted.h"
#include "platform/service.h"
#include "platform/text_buffer.h"

namespace kiv::platform {

namespace {

constexpr char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";

int priority(Severity severity) {
  if (severity == Severity::notice) return LOG_DAEMON | LOG_NOTICE;
  return LOG_DAEMON | (severity == Severity::warning ? LOG_WARNING : LOG_ERR);
}

void append_head(TextBuffer& line, const char* name, Severity severity) {
  std::tm now{};
  local_time(wall_us() / 1000000, &now);
  char head[160];
  std::snprintf(head, sizeof head, "<%d>%.3s %2d %02d:%02d:%02d %s[%d]: ", priority(severity),
                kMonths + 3 * now.tm_mon, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec, name,
                process_id());
  line.append(head);
}

}  // namespace

bool service_log(const char* name, Severity severity, const char* text, Why* why) noexcept {
  TextBuffer line;
  append_head(line, name, severity);
  line.append(text);
  if (line.failed()) return why->is("memory has run out");
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return why->is_last_error();
  const sockaddr_un log{AF_UNIX, "/dev/log"};
  const bool sent = uninterrupted([&] {
                      return sendto(fd, line.get(), line.length(), MSG_NOSIGNAL,
                                    reinterpret_cast<const sockaddr*>(&log), sizeof log);
                    }) >= 0;
  if (!sent) why->is("the system keeps no log");
  close(fd);
  return sent;
}

}  // namespace kiv::platform
