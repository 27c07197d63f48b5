// The server: the library's callbacks, and the connections that they serve.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>

#include "connection.h"
#include "kiv_base/http.h"

namespace http_files {

struct ServerOptions {
  std::uint16_t port = 8080;
  bool is_public = false;  // false: peers outside 127.x are turned away
  std::chrono::seconds idle{30};
  std::string mount;  // path of the folder: "" or, as an example, "/files"
};

class Server {
 public:
  // `log` and `application` may be NULL. All of them outlive the server.
  Server(kiv_box* box, const Folder& folder, zu_log* log, const ServerOptions& options,
         Application* application = nullptr);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Returns false if the port cannot be opened.
  bool listen();

  // Sends the answer of a request that the application put off. On the box's thread.
  void answer(Connection& connection, int status, const std::string& text);

 private:
  static void KIV_CALL on_accept(kiv_http_server* http, void* user, std::int32_t socket,
                                 const char* peer_ip, std::uint16_t peer_port);
  static void KIV_CALL on_request(kiv_http_server* http, void* user, std::int32_t socket,
                                  kiv_http_table* table, zu_jitter* body);
  static void KIV_CALL on_close(kiv_http_server* http, void* user, std::int32_t socket);
  static void KIV_CALL on_writable(void* user);
  static void KIV_CALL on_tick(void* box, void* user, std::int32_t timer, std::int32_t count);

  template <typename Step>
  static void serve(void* user, Step step);
  template <typename Step>
  void run(Connection& connection, Step step);
  void accept(std::int32_t socket, const char* peer_ip, std::uint16_t peer_port);
  void look_around();
  void drop_idle_connections();
  void drop(std::int32_t socket);

  Shared shared_;
  ServerOptions options_;
  kiv_http_server* http_;
  std::unordered_map<std::int32_t, std::unique_ptr<Connection>> connections_;
  Clock::time_point next_look_;
};

}  // namespace http_files
