// The texts of reasons and error numbers, the same on every system; times of keep-alive probes.
#include <algorithm>
#include <iterator>

#include "kiv_base/streams.h"
#include "platform/socket.h"
#include "platform/socket_stream.h"

namespace {

struct Reason {
  std::int32_t number;
  const char* text;
};

constexpr Reason kReasons[] = {
    {KIV_REASON_NONE, "no error"},
    {KIV_REASON_FILE, "file cannot be read to its end"},
    {10004, "interrupted call"},
    {10013, "permission denied"},
    {10014, "bad address"},
    {10022, "invalid argument"},
    {10024, "too many open sockets"},
    {10035, "operation would block"},
    {10036, "operation in progress"},
    {10037, "operation already in progress"},
    {10038, "not a socket"},
    {10039, "destination address required"},
    {10040, "message too long"},
    {10041, "protocol of the wrong type"},
    {10042, "bad protocol option"},
    {10043, "protocol not supported"},
    {10044, "socket type not supported"},
    {10045, "operation not supported"},
    {10046, "protocol family not supported"},
    {10047, "address family not supported"},
    {10048, "address already in use"},
    {10049, "address not available"},
    {10050, "network is down"},
    {KIV_REASON_NET_UNREACHABLE, "network is unreachable"},
    {10052, "network dropped the connection"},
    {10053, "connection aborted"},
    {KIV_REASON_RESET, "connection reset"},
    {KIV_REASON_NO_MEMORY, "out of memory"},
    {10056, "already connected"},
    {10057, "not connected"},
    {10058, "socket has been shut down"},
    {KIV_REASON_TIMED_OUT, "timed out"},
    {KIV_REASON_REFUSED, "connection refused"},
    {10064, "host is down"},
    {KIV_REASON_HOST_UNREACHABLE, "host is unreachable"},
    {KIV_REASON_END, "end of stream"},
};

bool is_count(std::int32_t number) {
  return number >= 1 && number <= 32767;
}

}  // namespace

const char* KIV_CALL zu_sock_ReasonText(std::int32_t reason) KIV_NOEXCEPT {
  const auto* const found = std::find_if(std::begin(kReasons), std::end(kReasons),
                                         [=](const Reason& r) { return r.number == reason; });
  return found != std::end(kReasons) ? found->text : "unknown error";
}

int KIV_CALL zu_sock_set_keep_alive_times(std::int32_t socket, std::int32_t idle_s,
                                          std::int32_t interval_s,
                                          std::int32_t probes) KIV_NOEXCEPT {
  return is_count(idle_s) && is_count(interval_s) && is_count(probes) &&
         zu_sock_keep_alive(socket) == 1 &&
         kiv::platform::socket_set_keep_alive_times(socket, idle_s, interval_s, probes) == 0;
}
