// The request object: settings, attaching to a box, and what can be asked of it.
#include "http/request.h"

#include <cstdio>
#include <cstring>

#include "base/ascii.h"
#include "base/str.h"

namespace kiv::http {
namespace {

constexpr std::uint32_t kTimeoutMs = 30000;

using base::Locked;
using OwnedUri = std::unique_ptr<kiv_uri, FreedBy<kiv_uri_free>>;

OwnedUri refuse(const char* url, int error) {
  std::printf("error: url(%s) error %d!\n", url, error);
  std::printf("error: http 'URL' parse error in kivx_http_request_make()!\n");
  return nullptr;
}

// Has the text of a parsed URI "://" after its scheme?
bool asks_for_server(const char* text, const kiv_uri& uri) {
  if (uri.scheme == nullptr) return false;
  while (*text == ' ') ++text;
  text += std::strlen(uri.scheme);
  return text[0] == ':' && base::is_slash(text[1]) && base::is_slash(text[2]);
}

// A URL without scheme and server is taken for one of http. One with a scheme and a server that is
// no host ("http://my_host/") is not: its scheme would become the host, a stranger to what the
// request carries.
OwnedUri parse_target(const char* url) {
  OwnedUri uri(kiv_uri_malloc(url));
  if (uri == nullptr) return refuse(url, 1);
  if (uri->host == nullptr && !asks_for_server(url, *uri)) {
    const OwnedText with_scheme(base::join({"http://", url}));
    uri.reset(kiv_uri_malloc(with_scheme.get()));
    if (uri == nullptr) return refuse(url, 3);
  }
  if (uri->scheme == nullptr || uri->host == nullptr) return refuse(url, 4);
  if (!same_name(uri->scheme, "http")) return refuse(url, 5);
  return uri;
}

// What an attach changes before it connects. False if out of memory, also if it was the URI that
// had no memory for the path to send.
bool set_target(kiv_http_request& request, OwnedUri uri, const char* proxy_host,
                std::int32_t proxy_port) {
  if (uri->path_raw == nullptr) return false;
  OwnedText proxy(base::copy_text(proxy_host));
  if (proxy_host != nullptr && !proxy) return false;
  kiv_uri_free(request.uri);
  request.uri = uri.release();
  base::deallocate(request.proxy_host);
  request.proxy_host = proxy.release();
  request.proxy_port = proxy_port;
  return true;
}

bool connect(kiv_http_request& request, kiv_box* box, const platform::WireAddress* host) {
  if (host != nullptr && request.connection.connect(box, *host, kRequestHandlers, &request)) {
    return true;
  }
  if (request.proxy_host != nullptr) {
    std::printf("error: proxy '%s:%d' error in kivx_http_request_make()!\n", request.proxy_host,
                static_cast<int>(request.proxy_port));
  } else {
    std::printf("error: host '%s:%d' error in kivx_http_request_make()!\n", request.uri->host,
                static_cast<int>(kiv_uri_GetPort(request.uri)));
  }
  return false;
}

bool start_filter(kiv_http_request& request) {
  request.filter = kiv_http_filter_response_make();
  return request.filter != nullptr;
}

bool release_earlier(kiv_http_request* request) {
  const Locked locked(request);
  if (!locked) return false;
  locked->release();
  return true;
}

int destroy(Locked<kiv_http_request>& locked) {
  kiv_http_request* const request = locked.get();
  request->release();
  kiv::base::objects().remove(request);
  kiv_http_table_free(request->table);
  kiv_uri_free(request->uri);
  base::deallocate(request->proxy_host);
  base::destroy(request);
  return locked.unlock();
}

template <typename... Texts>
int on_table(kiv_http_request* request, int(KIV_CALL* operation)(kiv_http_table*, Texts...),
             Texts... texts) {
  const Locked locked(request);
  return locked ? operation(locked->table, texts...) : 0;
}

}  // namespace

void Outgoing::set(OwnedText bytes, std::int32_t count) noexcept {
  base::deallocate(text);
  text = bytes.release();
  length = count;
  sent = 0;
}

}  // namespace kiv::http

using namespace kiv::http;

std::int32_t kiv_http_request::release() noexcept {
  const std::int32_t socket = connection.release();
  outgoing.clear();
  kiv_http_filter_response_free(filter);
  filter = nullptr;
  return socket;
}

kiv_http_request* KIV_CALL kiv_http_request_make() KIV_NOEXCEPT {
  OwnedTable table(kiv_http_table_make());
  auto request = kiv::base::make<kiv_http_request>();
  if (table == nullptr || !request) return nullptr;
  request->table = table.get();
  // Last: a late handler of an object that had this address may look into it from now on.
  if (!kiv::base::insert_object(request.get())) return nullptr;
  (void)table.release();
  return request.release();
}

int KIV_CALL kivx_http_request_attach(kiv_box* box, int32_t, kiv_http_request* request,
                                      const char* url, const char* proxy_host, int32_t proxy_port,
                                      kiv_http_request_socket_fn reserved, void* reserved_user,
                                      kiv_http_request_socket_fn on_failure, void* failure_user,
                                      kiv_http_request_response_fn on_response, void* response_user,
                                      kiv_http_request_socket_fn on_close,
                                      void* close_user) KIV_NOEXCEPT {
  if (box == nullptr || url == nullptr || !release_earlier(request)) return 0;
  OwnedUri uri = parse_target(url);
  if (uri == nullptr) {
    kiv_http_request_free(request);
    return 0;
  }
  kiv::platform::WireAddress host;
  const bool found = proxy_host != nullptr
                         ? look_up(box, proxy_host, proxy_port, host)
                         : look_up(box, uri->host, kiv_uri_GetPort(uri.get()), host);
  Locked locked(request);
  if (!locked) return 0;
  locked->release();  // another thread may have attached it during the look-up
  locked->reserved = {reserved, reserved_user};
  locked->on_failure = {on_failure, failure_user};
  locked->on_response = {on_response, response_user};
  locked->on_close = {on_close, close_user};
  if (set_target(*locked, std::move(uri), proxy_host, proxy_port) &&
      connect(*locked, box, found ? &host : nullptr) &&
      locked->connection.start_timer(kTimeoutMs, kRequestHandlers, request) &&
      start_filter(*locked)) {
    return 1;
  }
  destroy(locked);
  return 0;
}

int KIV_CALL kiv_http_request_attach(kiv_box* box, int32_t reserved_number,
                                     kiv_http_request* request, const char* url,
                                     kiv_http_request_socket_fn reserved, void* reserved_user,
                                     kiv_http_request_socket_fn on_failure, void* failure_user,
                                     kiv_http_request_response_fn on_response, void* response_user,
                                     kiv_http_request_socket_fn on_close,
                                     void* close_user) KIV_NOEXCEPT {
  return kivx_http_request_attach(box, reserved_number, request, url, nullptr, 0, reserved,
                                  reserved_user, on_failure, failure_user, on_response,
                                  response_user, on_close, close_user);
}

int KIV_CALL kiv_http_request_SetMethod(kiv_http_request* request,
                                        const char* method) KIV_NOEXCEPT {
  return on_table(request, kiv_http_table_SetMethod, method);
}

int KIV_CALL kiv_http_request_SetField(kiv_http_request* request, const char* name,
                                       const char* value) KIV_NOEXCEPT {
  return on_table(request, kiv_http_table_SetField, name, value);
}

int KIV_CALL kiv_http_request_UnsetField(kiv_http_request* request, const char* name) KIV_NOEXCEPT {
  return on_table(request, kiv_http_table_UnsetField, name);
}

int KIV_CALL kiv_http_request_SetForm(kiv_http_request* request, const char* name,
                                      const char* raw_value) KIV_NOEXCEPT {
  return on_table(request, kiv_http_table_SetForm, name, raw_value);
}

int KIV_CALL kiv_http_request_UnsetForm(kiv_http_request* request, const char* name) KIV_NOEXCEPT {
  return on_table(request, kiv_http_table_UnsetForm, name);
}

kiv_uri* KIV_CALL kiv_http_request_GetUri(kiv_http_request* request) KIV_NOEXCEPT {
  const Locked locked(request);
  return locked ? kiv_uri_clone(locked->uri) : nullptr;
}

const kiv_uri* KIV_CALL kiv_http_request_GetUri_in(kiv_http_request* request) KIV_NOEXCEPT {
  const Locked locked(request);
  return locked ? locked->uri : nullptr;
}

char* KIV_CALL kiv_http_request_GetUrl(kiv_http_request* request) KIV_NOEXCEPT {
  const Locked locked(request);
  return locked ? kiv_uri_GetURIString(locked->uri) : nullptr;
}

kiv_box* KIV_CALL kiv_http_request_GetBox(kiv_http_request* request) KIV_NOEXCEPT {
  const Locked locked(request);
  return locked ? locked->connection.box : nullptr;
}

int KIV_CALL kiv_http_request_free(kiv_http_request* request) KIV_NOEXCEPT {
  Locked locked(request);
  return locked ? destroy(locked) : 0;
}
