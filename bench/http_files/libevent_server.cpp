// A static file server on libevent, to measure beside examples/http_files: one thread, the same
// folder, the same header fields. It is no server to show to anyone: it trusts every path.
//
//   libevent_server PORT FOLDER
#include <event2/buffer.h>
#include <event2/event.h>
#include <event2/http.h>
#include <event2/keyvalq_struct.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

constexpr long kSentByKernel = 64 * 1024;  // smaller files go out with their head in one write

void add_fields(evkeyvalq* fields, time_t changed) {
  char date[64];
  tm parts{};
  gmtime_r(&changed, &parts);
  strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S GMT", &parts);
  evhttp_add_header(fields, "Server", "libevent_server");
  evhttp_add_header(fields, "Content-Type", "application/octet-stream");
  evhttp_add_header(fields, "X-Content-Type-Options", "nosniff");
  evhttp_add_header(fields, "Last-Modified", date);
  evhttp_add_header(fields, "Accept-Ranges", "bytes");
}

void on_request(evhttp_request* request, void* user) {
  const std::string path = *static_cast<std::string*>(user) + evhttp_request_get_uri(request);
  struct stat status {};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0 || fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
    if (file >= 0) close(file);
    evhttp_send_error(request, HTTP_NOTFOUND, nullptr);
    return;
  }
  add_fields(evhttp_request_get_output_headers(request), status.st_mtime);
  evbuffer* body = evbuffer_new();
  if (status.st_size < kSentByKernel) {
    evbuffer_read(body, file, static_cast<int>(status.st_size));
    close(file);
  } else {
    evbuffer_add_file(body, file, 0, status.st_size);  // closes the file
  }
  evhttp_send_reply(request, HTTP_OK, "OK", body);
  evbuffer_free(body);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: libevent_server PORT FOLDER\n");
    return 2;
  }
  std::string folder = argv[2];
  event_base* base = event_base_new();
  evhttp* http = evhttp_new(base);
  evhttp_set_gencb(http, on_request, &folder);
  if (evhttp_bind_socket(http, "0.0.0.0", static_cast<ev_uint16_t>(std::atoi(argv[1]))) != 0) {
    std::fprintf(stderr, "libevent_server: port %s cannot be had\n", argv[1]);
    return 2;
  }
  std::printf("serving %s\n", folder.c_str());
  std::fflush(stdout);
  event_base_dispatch(base);
  evhttp_free(http);
  event_base_free(base);
}
