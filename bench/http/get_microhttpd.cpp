// An HTTP server on libmicrohttpd that answers every request with the same 1024 bytes from memory.
#include <microhttpd.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "bench/harness/process.h"

namespace {

MHD_Result on_request(void* response, MHD_Connection* connection, const char*, const char*,
                      const char*, const char*, std::size_t*, void** seen) {
  if (*seen == nullptr) {  // the first of two calls tells of the head alone
    *seen = response;
    return MHD_YES;
  }
  *seen = nullptr;
  return MHD_queue_response(connection, MHD_HTTP_OK, static_cast<MHD_Response*>(response));
}

}  // namespace

int main() {
  static std::string body(1024, 'x');
  MHD_Response* response =
      MHD_create_response_from_buffer(body.size(), body.data(), MHD_RESPMEM_PERSISTENT);
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "text/plain");
  MHD_Daemon* daemon = MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD, 0, nullptr, nullptr,
                                        on_request, response, MHD_OPTION_END);
  if (!daemon) bench::give_up("server");
  bench::report("port", MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port);
  for (;;) pause();
}
