// An HTTP server that answers every request with the same 1024 bytes from memory, and the date.
//
//   get_box strict|fair
#include <ctime>
#include <string>

#include "bench/harness/order.h"
#include "bench/harness/process.h"
#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

// Written anew each second.
const std::string& answer() {
  static std::string text;
  static std::time_t written = 0;
  const std::time_t time = std::time(nullptr);
  if (time != written) {
    written = time;
    char date[64];
    std::strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S GMT", std::gmtime(&time));
    text = "HTTP/1.1 200 OK\r\nDate: " + std::string(date) +
           "\r\nContent-Type: text/plain\r\nContent-Length: 1024\r\n\r\n" + std::string(1024, 'x');
  }
  return text;
}

void KIV_CALL on_request(kiv_http_server*, void* box, std::int32_t socket, kiv_http_table*,
                         zu_jitter*) {
  const std::string& text = answer();
  kiv_box_TcpWrite(static_cast<kiv_box*>(box), socket, text.data(),
                   static_cast<std::int32_t>(text.size()));
}

void KIV_CALL on_close(kiv_http_server* server, void*, std::int32_t socket) {
  kiv_http_server_DeleteClient(server, socket);
}

void KIV_CALL on_accept(kiv_http_server* server, void* box, std::int32_t socket, const char*,
                        std::uint16_t) {
  kiv_http_server_AcceptClient(server, socket, on_request, box, on_close, box);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  kiv_Setup();
  kiv_box* box = kiv_box_new();
  bench::choose_order(box, argv[1]);
  kiv_http_server* server = kiv_http_server_make();
  std::uint16_t port = 26000;
  while (!kiv_http_server_attach(box, server, port, on_accept, box)) ++port;
  bench::report("port", port);
  kiv_box_loop(box);
}
