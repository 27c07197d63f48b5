// The tunnel through a proxy: a CONNECT request, a look at the answer, then the bytes as they come.
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "base/ascii.h"
#include "base/base64.h"
#include "base/str.h"
#include "event/endpoint.h"
#include "event/kiv_box_verbs.h"
#include "http/connection.h"
#include "kiv_base/http.h"

namespace kiv::http {
namespace {

constexpr std::uint32_t kTimeoutMs = 15000;
constexpr std::int32_t kSocketBuffer = 1048576;
constexpr std::int32_t kReadLength = 10240;
constexpr std::int32_t kMaxAnswer = 1024;

struct Texts {
  char proxy_host[129];
  std::uint16_t proxy_port;
  char user[65];  // empty: no authorisation
  char password[65];
  char target_host[129];
  std::uint16_t target_port;
};

}  // namespace
}  // namespace kiv::http

struct kiv_proxy_http {
  kiv::http::Connection connection;
  kiv::http::Texts texts;
  kiv::http::Callback<kiv_proxy_http_socket_fn> on_ready;
  kiv::http::Callback<kiv_proxy_http_socket_fn> on_failure;
  kiv::http::Callback<kiv_proxy_http_data_fn> on_data;
  kiv::http::Callback<kiv_proxy_http_socket_fn> on_close;
  char message[2052];  // the request, then the answer so far
  std::int32_t answer_length;
  std::int32_t established;
};

namespace kiv::http {
namespace {

// A format's arguments are at most the texts above, in numbers of 5 digits.
constexpr char kConnect[] =
    "CONNECT %s:%d HTTP/1.0\r\n"
    "User-Agent: Mozilla/4.0 (compatible; MSIE 7.0; Windows NT 5.1; Alexa Toolbar)\r\n"
    "Proxy-Connection: Keep-Alive\r\n"
    "Content-Length: 0\r\n"
    "Host: %s:%d\r\n"
    "Pragma: no-cache\r\n";
constexpr char kAuthorization[] = "Proxy-Authorization: Basic %s\r\n";
constexpr std::size_t kCredentials = 2 * 64 + 1;
constexpr std::size_t kEncoded = (kCredentials + 2) / 3 * 4;
static_assert(sizeof kConnect + 2 * (128 + 5) + sizeof kAuthorization + kEncoded + 2 <=
              sizeof(kiv_proxy_http::message));

using Tunnel = Served<kiv_proxy_http>;

// Copies what fits; a missing text is empty.
template <std::size_t Size>
void fill(char (&field)[Size], const char* text) {
  base::copy_within(field, Size, text);
}

// Length of the request that it writes.
std::int32_t write_request(const Texts& texts, char* out) {
  int length = std::sprintf(out, kConnect, texts.target_host, texts.target_port, texts.target_host,
                            texts.target_port);
  if (texts.user[0] != '\0') {
    char credentials[kCredentials + 1];
    char encoded[kEncoded + 1];
    base::base64_encode(encoded, credentials,
                        std::sprintf(credentials, "%s:%s", texts.user, texts.password));
    length += std::sprintf(out + length, kAuthorization, encoded);
  }
  std::memcpy(out + length, "\r\n", 3);
  return length + 2;
}

bool skip_text(const char*& at, const char* expected) {
  const std::size_t length = std::strlen(expected);
  if (std::strncmp(at, expected, length) != 0) return false;
  at += length;
  return true;
}

// The decimal number that starts here; -1 when none does, or one of more than four digits.
int take_number(const char*& at) {
  if (!base::is_digit(*at)) return -1;
  int number = 0;
  for (; base::is_digit(*at); ++at) {
    if (number >= 0) number = number * 10 + (*at - '0');
    if (number > 9999) number = -1;
  }
  return number;
}

// deliberate: a status line that ends right after its code is rejected; the code is only known to
// be whole with the space after it.
bool is_accepted(const char* answer) {
  if (!skip_text(answer, "HTTP/") || take_number(answer) < 0) return false;
  if (!skip_text(answer, ".") || take_number(answer) < 0) return false;
  return skip_text(answer, " ") && take_number(answer) == 200 && *answer == ' ';
}

// Releases the connection and notifies the application.
void fail(Tunnel& tunnel) {
  const auto on_failure = tunnel->on_failure;
  const std::int32_t socket = tunnel->connection.release();
  tunnel.unlock();
  on_failure.call(socket);
}

// deliberate: one byte a read until the answer has ended, so that what follows it, which may be the
// first bytes of the target, comes in reads of its own.
void KIV_CALL handle_connect(void* box, void* argument, std::int32_t socket) {
  Tunnel tunnel(argument, &Connection::socket, socket);
  if (!tunnel) return;
  event::set_buffers(socket, kSocketBuffer, kSocketBuffer);
  event::set_max_read(static_cast<kiv_box*>(box), socket, 1);
  const Texts& texts = tunnel->texts;
  std::printf("info: connect to proxy server(%s:%d) OK!\n", texts.proxy_host, texts.proxy_port);
  const std::int32_t length = write_request(texts, tunnel->message);
  // The buffer of a new connection takes far more than this, or the connection is lost.
  if (event::write(static_cast<kiv_box*>(box), socket, tunnel->message, length) != length) {
    fail(tunnel);
  }
}

void KIV_CALL handle_failure(void*, void* argument, std::int32_t socket) {
  Tunnel tunnel(argument, &Connection::socket, socket);
  if (!tunnel) return;
  tunnel->connection.end_timer();
  const auto on_failure = tunnel->on_failure;
  tunnel.unlock();
  on_failure.call(socket);
}

enum class Answer { incomplete, accepted, refused };

Answer take_answer(kiv_proxy_http& tunnel, const char* data, std::int32_t length) {
  const std::int32_t before = tunnel.answer_length;
  const std::int32_t total = before + length;
  if (total >= kMaxAnswer) {
    std::printf("error: return request too long(%d)!\n", static_cast<int>(total));
    return Answer::refused;
  }
  std::memcpy(tunnel.message + before, data, static_cast<std::size_t>(length));
  tunnel.message[total] = '\0';
  tunnel.answer_length = total;
  const char* const unsearched = tunnel.message + (before > 3 ? before - 3 : 0);
  if (std::strstr(unsearched, "\r\n\r\n") == nullptr) return Answer::incomplete;
  if (is_accepted(tunnel.message)) return Answer::accepted;
  std::printf("error: return request status error!\n");
  return Answer::refused;
}

void establish(Tunnel& tunnel, kiv_box* box, std::int32_t socket) {
  tunnel->connection.end_timer();
  event::set_max_read(box, socket, kReadLength);
  tunnel->established = 1;
  const auto on_ready = tunnel->on_ready;
  tunnel.unlock();
  on_ready.call(socket);
}

void KIV_CALL handle_read(void* box, void* argument, std::int32_t socket, char* data,
                          std::int32_t length) {
  Tunnel tunnel(argument, &Connection::socket, socket);
  if (!tunnel) return;
  if (tunnel->established != 0) {
    const auto on_data = tunnel->on_data;
    tunnel.unlock();
    return on_data.call(socket, data, length);
  }
  switch (take_answer(*tunnel, data, length)) {
    case Answer::incomplete:
      return;
    case Answer::accepted:
      return establish(tunnel, static_cast<kiv_box*>(box), socket);
    case Answer::refused:
      return fail(tunnel);
  }
}

void KIV_CALL handle_close(void*, void* argument, std::int32_t socket) {
  Tunnel tunnel(argument, &Connection::socket, socket);
  if (!tunnel) return;
  tunnel->connection.end_timer();
  const auto on_close = tunnel->on_close;
  tunnel.unlock();
  on_close.call(socket);
}

void KIV_CALL handle_timeout(void*, void* argument, std::int32_t timer, std::int32_t) {
  Tunnel tunnel(argument, &Connection::timer, timer);
  if (tunnel) fail(tunnel);
}

constexpr Handlers kHandlers = {handle_connect, handle_failure, handle_read, handle_close,
                                handle_timeout};

bool release_earlier(kiv_proxy_http* tunnel) {
  const kiv::base::Locked<kiv_proxy_http> locked(tunnel);
  if (!locked) return false;
  locked->connection.release();
  return true;
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

kiv_proxy_http* KIV_CALL kiv_proxy_http_make() KIV_NOEXCEPT {
  auto tunnel = kiv::base::make<kiv_proxy_http>();
  return tunnel && kiv::base::insert_object(tunnel.get()) ? tunnel.release() : nullptr;
}

int KIV_CALL kiv_proxy_http_attach(kiv_box* box, kiv_proxy_http* tunnel, const char* proxy_host,
                                   uint16_t proxy_port, const char* user, const char* password,
                                   const char* target_host, uint16_t target_port,
                                   kiv_proxy_http_socket_fn on_ready, void* ready_user,
                                   kiv_proxy_http_socket_fn on_failure, void* failure_user,
                                   kiv_proxy_http_data_fn on_data, void* data_user,
                                   kiv_proxy_http_socket_fn on_close,
                                   void* close_user) KIV_NOEXCEPT {
  if (box == nullptr || proxy_host == nullptr || target_host == nullptr) return 0;
  Texts texts;
  fill(texts.proxy_host, proxy_host);
  texts.proxy_port = proxy_port;
  fill(texts.user, user);
  fill(texts.password, password);
  fill(texts.target_host, target_host);
  texts.target_port = target_port;
  kiv::platform::WireAddress proxy;
  if (!release_earlier(tunnel) || !look_up(box, texts.proxy_host, proxy_port, proxy)) return 0;
  const kiv::base::Locked<kiv_proxy_http> locked(tunnel);
  if (!locked) return 0;
  locked->connection.release();  // another thread may have attached it during the look-up
  locked->texts = texts;
  locked->on_ready = {on_ready, ready_user};
  locked->on_failure = {on_failure, failure_user};
  locked->on_data = {on_data, data_user};
  locked->on_close = {on_close, close_user};
  locked->answer_length = 0;
  locked->established = 0;
  if (locked->connection.connect(box, proxy, kHandlers, tunnel) &&
      locked->connection.start_timer(kTimeoutMs, kHandlers, tunnel)) {
    return 1;
  }
  locked->connection.release();
  return 0;
}

int KIV_CALL kiv_proxy_http_free(kiv_proxy_http* tunnel) KIV_NOEXCEPT {
  kiv::base::Locked locked(tunnel);
  if (!locked) return 0;
  locked->connection.release();
  kiv::base::objects().remove(tunnel);
  kiv::base::destroy(tunnel);
  return locked.unlock();
}
