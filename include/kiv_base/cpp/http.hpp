// HTTP: tables, stream filters, requests, servers and tunnels (kiv_base/http.h).
#ifndef KIV_BASE_CPP_HTTP_HPP
#define KIV_BASE_CPP_HTTP_HPP

#include <cstdint>
#include <optional>

#include "kiv_base/cpp/box.hpp"
#include "kiv_base/cpp/runtime.hpp"
#include "kiv_base/cpp/uri.hpp"
#include "kiv_base/http.h"

namespace kiv {

// ---- Tables -------------------------------------------------------------------------------------

class HttpTableRef;
using HttpTable = Owner<HttpTableRef, kiv_http_table_free>;

struct HttpField {
  TextRef name, value;
};
struct HttpFormField {
  TextRef name, escaped, raw;
};

// Strings are owned by the table until the item changes, and are null if there is none. False: bad
// arguments, an unknown name, or out of memory; the table is then unchanged. Nothing is checked or
// quoted when a table is written: keep line ends from peers out of it.
class HttpTableRef : public Ref<kiv_http_table> {
 public:
  using Ref::Ref;
  // Return null if out of memory; the parsers also, after printing a message, for an invalid
  // head or form.
  static HttpTable make() noexcept { return HttpTable(kiv_http_table_make()); }
  static HttpTable parse_head(TextRef text) noexcept {
    return HttpTable(kiv_http_table_ParseHeaderStr(text.c_str()));
  }
  static HttpTable parse_form(TextRef text) noexcept {
    return HttpTable(kiv_http_table_ParseFormStr(text.c_str()));
  }
  HttpTable clone() const noexcept { return HttpTable(kiv_http_table_clone(object_)); }
  void clear() const noexcept { kiv_http_table_clean(object_); }

  TextRef method() const noexcept { return kiv_http_table_GetMethod(object_); }
  bool set_method(TextRef method) const noexcept {
    return kiv_http_table_SetMethod(object_, method.c_str()) == 1;
  }
  bool unset_method() const noexcept { return kiv_http_table_UnsetMethod(object_) == 1; }
  TextRef target() const noexcept { return kiv_http_table_GetRequest(object_); }
  bool set_target(TextRef target) const noexcept {
    return kiv_http_table_SetRequest(object_, target.c_str()) == 1;
  }
  bool unset_target() const noexcept { return kiv_http_table_UnsetRequest(object_) == 1; }
  TextRef status_line() const noexcept { return kiv_http_table_GetStatus(object_); }
  // Returns -1 for a new table.
  std::int32_t status() const noexcept { return kiv_http_table_GetStatusValue(object_); }
  bool set_status(TextRef line) const noexcept {
    return kiv_http_table_SetStatus(object_, line.c_str()) == 1;
  }
  bool unset_status() const noexcept { return kiv_http_table_UnsetStatus(object_) == 1; }

  TextRef field(TextRef name) const noexcept {
    return kiv_http_table_GetField(object_, name.c_str());
  }
  bool set_field(TextRef name, TextRef value) const noexcept {
    return kiv_http_table_SetField(object_, name.c_str(), value.c_str()) == 1;
  }
  bool unset_field(TextRef name) const noexcept {
    return kiv_http_table_UnsetField(object_, name.c_str()) == 1;
  }
  bool clear_fields() const noexcept { return kiv_http_table_ZeroField(object_) == 1; }
  // Returns nothing at the end.
  bool rewind_fields() const noexcept { return kiv_http_table_RewindField(object_) == 1; }
  std::optional<HttpField> next_field() const noexcept {
    const char *name = nullptr, *value = nullptr;
    if (kiv_http_table_GetNextField(object_, &name, &value) != 1) return {};
    return HttpField{name, value};
  }

  TextRef form_escaped(TextRef name) const noexcept {
    return kiv_http_table_GetForm(object_, name.c_str());
  }
  TextRef form(TextRef name) const noexcept {
    return kiv_http_table_GetFormRaw(object_, name.c_str());
  }
  // To change a value, unset it first: the form's length is wrong otherwise.
  bool set_form(TextRef name, TextRef raw_value) const noexcept {
    return kiv_http_table_SetForm(object_, name.c_str(), raw_value.c_str()) == 1;
  }
  bool unset_form(TextRef name) const noexcept {
    return kiv_http_table_UnsetForm(object_, name.c_str()) == 1;
  }
  bool clear_form() const noexcept { return kiv_http_table_ZeroForm(object_) == 1; }
  bool rewind_form() const noexcept { return kiv_http_table_RewindForm(object_) == 1; }
  std::optional<HttpFormField> next_form() const noexcept {
    const char *name = nullptr, *escaped = nullptr, *raw = nullptr;
    if (kiv_http_table_GetNextForm(object_, &name, &escaped, &raw) != 1) return {};
    return HttpFormField{name, escaped, raw};
  }

  // Return newly allocated strings; null on failure.
  Text head_text() const noexcept { return Text(kiv_http_table_GetHeaderStr(object_)); }
  Text form_text() const noexcept { return Text(kiv_http_table_GetFormStr(object_)); }
  std::int32_t form_length() const noexcept { return kiv_http_table_GetFormStrLen(object_); }
};

// ---- Stream filters -----------------------------------------------------------------------------

// What a filter returns: a null table if there is nothing, and the status (KIV_HTTP_) in any case.
struct HttpMessage {
  HttpTable table;
  Jitter body;
  std::int32_t status = 0;
};

struct HttpMessageRef {
  HttpTableRef table;
  JitterRef body;
  std::int32_t status = 0;
};

class HttpRequestFilterRef : public Ref<kiv_http_filter> {
 public:
  using Ref::Ref;
  using Filter = Owner<HttpRequestFilterRef, kiv_http_filter_request_free>;
  // Returns null if out of memory.
  static Filter make() noexcept { return Filter(kiv_http_filter_request_make()); }
  // Returns false if the stream is broken, permanently.
  bool write(Data bytes) const noexcept {
    return kiv_http_filter_request_input(object_, bytes.data(), bytes.size()) == 1;
  }
  HttpMessage next() const noexcept {
    zu_jitter* body = nullptr;
    std::int32_t status = 0;
    HttpTable table(kiv_http_filter_request_get(object_, &body, &status));
    return {std::move(table), Jitter(body), status};
  }
  // Returns the oldest message as far as it has arrived, owned by the filter until the next write
  // or next(); a null table while its head is incomplete.
  HttpMessageRef peek() const noexcept {
    HttpMessageRef message;
    kiv_http_table* table = nullptr;
    zu_jitter* body = nullptr;
    if (kiv_http_filter_request_peek(object_, &table, &body, &message.status) == 1) {
      message.table = table;
      message.body = body;
    }
    return message;
  }
};
using HttpRequestFilter = HttpRequestFilterRef::Filter;

class HttpResponseFilterRef : public Ref<kiv_http_filter> {
 public:
  using Ref::Ref;
  using Filter = Owner<HttpResponseFilterRef, kiv_http_filter_response_free>;
  static Filter make() noexcept { return Filter(kiv_http_filter_response_make()); }
  bool write(Data bytes) const noexcept {
    return kiv_http_filter_response_input(object_, bytes.data(), bytes.size()) == 1;
  }
  HttpMessage next() const noexcept {
    zu_jitter* body = nullptr;
    std::int32_t status = 0;
    HttpTable table(kiv_http_filter_response_get(object_, &body, &status));
    return {std::move(table), Jitter(body), status};
  }
};
using HttpResponseFilter = HttpResponseFilterRef::Filter;

// ---- Client -------------------------------------------------------------------------------------

// Failure; closed by the peer.
struct HttpSocketKind {
  using Function = kiv_http_request_socket_fn;
  using Signature = void(BoxRef, SocketId);
  template <typename Call>
  static void KIV_CALL call(void* argument, kiv_box* box, std::int32_t socket) noexcept {
    Call::on(argument, BoxRef(box), socket);
  }
};
// URL, table, body and state (KIV_HTTP_): complete with KIV_HTTP_COMPLETE. All of them are freed
// when the callback returns.
struct HttpResponseKind {
  using Function = kiv_http_request_response_fn;
  using Signature = void(BoxRef, SocketId, TextRef, HttpTableRef, JitterRef, std::int32_t);
  template <typename Call>
  static void KIV_CALL call(void* argument, kiv_box* box, std::int32_t socket, const char* url,
                            kiv_http_table* response, zu_jitter* body,
                            std::int32_t status) noexcept {
    Call::on(argument, BoxRef(box), socket, TextRef(url), HttpTableRef(response), JitterRef(body),
             status);
  }
};

struct HttpRequestCallbacks {
  Callback<HttpSocketKind> on_failure = {};
  Callback<HttpResponseKind> on_response = {};
  Callback<HttpSocketKind> on_close = {};

  // Binds the handler's public members of these names: one function each, none missing.
  template <typename Handler>
  static constexpr HttpRequestCallbacks of(Handler& handler) noexcept {
    HttpRequestCallbacks callbacks;
    callbacks.on_failure = bind<&Handler::on_failure>(handler);
    callbacks.on_response = bind<&Handler::on_response>(handler);
    callbacks.on_close = bind<&Handler::on_close>(handler);
    return callbacks;
  }
};

// Destroying it ends the exchange, without a callback. Destroy it before its box, or
// immediately after.
class HttpRequest : public Owner<Ref<kiv_http_request>, kiv_http_request_free> {
 public:
  using Owner::Owner;
  // Returns null if out of memory.
  static HttpRequest make() noexcept { return HttpRequest(kiv_http_request_make()); }

  // What to send: call these before attaching.
  bool set_method(TextRef method) const noexcept {
    return kiv_http_request_SetMethod(object_, method.c_str()) == 1;
  }
  bool set_field(TextRef name, TextRef value) const noexcept {
    return kiv_http_request_SetField(object_, name.c_str(), value.c_str()) == 1;
  }
  bool unset_field(TextRef name) const noexcept {
    return kiv_http_request_UnsetField(object_, name.c_str()) == 1;
  }
  bool set_form(TextRef name, TextRef raw_value) const noexcept {
    return kiv_http_request_SetForm(object_, name.c_str(), raw_value.c_str()) == 1;
  }
  bool unset_form(TextRef name) const noexcept {
    return kiv_http_request_UnsetForm(object_, name.c_str()) == 1;
  }

  // Starts an exchange. Returns false, and no callback follows: the library has then freed the
  // request, and this object is null, unless the failure was a null box or URL.
  bool attach(BoxRef box, TextRef url, const HttpRequestCallbacks& calls,
              TextRef proxy_host = nullptr, std::int32_t proxy_port = 0) noexcept {
    if (kivx_http_request_attach(box.get(), 0, object_, url.c_str(), proxy_host.c_str(), proxy_port,
                                 nullptr, nullptr, calls.on_failure.function(),
                                 calls.on_failure.argument(), calls.on_response.function(),
                                 calls.on_response.argument(), calls.on_close.function(),
                                 calls.on_close.argument()) == 1) {
      return true;
    }
    if (box && url) (void)release();
    return false;
  }

  // Null before attaching. The first returns a copy, the second the request's own record.
  Uri uri() const noexcept { return Uri(kiv_http_request_GetUri(object_)); }
  UriRef own_uri() const noexcept { return kiv_http_request_GetUri_in(object_); }
  Text url() const noexcept { return Text(kiv_http_request_GetUrl(object_)); }
  BoxRef box() const noexcept { return kiv_http_request_GetBox(object_); }
};

// ---- Server -------------------------------------------------------------------------------------

class HttpServerRef;
using HttpServer = Owner<HttpServerRef, kiv_http_server_free>;

// A connection and its peer; accept it with accept().
template <typename Server = HttpServerRef>
struct HttpAcceptKind {
  using Function = kiv_http_server_accept_fn;
  using Signature = void(Server, SocketId, TextRef, std::uint16_t);
  template <typename Call>
  static void KIV_CALL call(kiv_http_server* server, void* argument, std::int32_t socket,
                            const char* peer_ip, std::uint16_t peer_port) noexcept {
    Call::on(argument, Server(server), socket, TextRef(peer_ip), peer_port);
  }
};
// A complete request; the body is null if there is none. Both are freed when the callback returns.
template <typename Server = HttpServerRef>
struct HttpServeKind {
  using Function = kiv_http_server_request_fn;
  using Signature = void(Server, SocketId, HttpTableRef, JitterRef);
  template <typename Call>
  static void KIV_CALL call(kiv_http_server* server, void* argument, std::int32_t socket,
                            kiv_http_table* request, zu_jitter* body) noexcept {
    Call::on(argument, Server(server), socket, HttpTableRef(request), JitterRef(body));
  }
};
// Closed or broken: remove the client there.
template <typename Server = HttpServerRef>
struct HttpCloseKind {
  using Function = kiv_http_server_close_fn;
  using Signature = void(Server, SocketId);
  template <typename Call>
  static void KIV_CALL call(kiv_http_server* server, void* argument, std::int32_t socket) noexcept {
    Call::on(argument, Server(server), socket);
  }
};

// Send answers with BoxRef::write. False where C returns 0. Destroy it before its box, or
// immediately after.
class HttpServerRef : public Ref<kiv_http_server> {
 public:
  using Ref::Ref;
  // Returns null if out of memory.
  static HttpServer make() noexcept { return HttpServer(kiv_http_server_make()); }

  bool attach(BoxRef box, std::uint16_t port, Callback<HttpAcceptKind<>> on_accept) const noexcept {
    return kiv_http_server_attach(box.get(), object_, port, on_accept.function(),
                                  on_accept.argument()) == 1;
  }
  bool accept(SocketId socket, Callback<HttpServeKind<>> on_request,
              Callback<HttpCloseKind<>> on_close = nullptr) const noexcept {
    return kiv_http_server_AcceptClient(object_, socket, on_request.function(),
                                        on_request.argument(), on_close.function(),
                                        on_close.argument()) == 1;
  }
  // Closes the socket. Returns false, with the socket closed all the same, if it was not a client.
  bool remove(SocketId socket) const noexcept {
    return kiv_http_server_DeleteClient(object_, socket) == 1;
  }
  std::int32_t client_count() const noexcept { return kiv_http_server_NumClients(object_); }
};

// ---- Tunnel through a proxy ---------------------------------------------------------------------

struct TunnelSocketKind {
  using Function = kiv_proxy_http_socket_fn;
  using Signature = void(SocketId);
  template <typename Call>
  static void KIV_CALL call(void* argument, std::int32_t socket) noexcept {
    Call::on(argument, socket);
  }
};
struct TunnelDataKind {
  using Function = kiv_proxy_http_data_fn;
  using Signature = void(SocketId, Data);
  template <typename Call>
  static void KIV_CALL call(void* argument, std::int32_t socket, const char* data,
                            std::int32_t length) noexcept {
    Call::on(argument, socket, Data(data, length));
  }
};

struct TunnelCallbacks {
  Callback<TunnelSocketKind> on_ready = {};
  Callback<TunnelSocketKind> on_failure = {};
  Callback<TunnelDataKind> on_data = {};
  Callback<TunnelSocketKind> on_close = {};

  // Binds the handler's public members of these names: one function each, none missing.
  template <typename Handler>
  static constexpr TunnelCallbacks of(Handler& handler) noexcept {
    TunnelCallbacks callbacks;
    callbacks.on_ready = bind<&Handler::on_ready>(handler);
    callbacks.on_failure = bind<&Handler::on_failure>(handler);
    callbacks.on_data = bind<&Handler::on_data>(handler);
    callbacks.on_close = bind<&Handler::on_close>(handler);
    return callbacks;
  }
};

struct TunnelProxy {
  TextRef host;
  std::uint16_t port = 0;
  TextRef user = nullptr;
  TextRef password = nullptr;
};

class HttpTunnelRef;
using HttpTunnel = Owner<HttpTunnelRef, kiv_proxy_http_free>;

// Destroying it closes the connection, without a callback. Destroy it before its box, or
// immediately after.
class HttpTunnelRef : public Ref<kiv_proxy_http> {
 public:
  using Ref::Ref;
  // Returns null if out of memory.
  static HttpTunnel make() noexcept { return HttpTunnel(kiv_proxy_http_make()); }

  // Returns false on failure; no callback follows then.
  bool attach(BoxRef box, const TunnelProxy& proxy, TextRef host, std::uint16_t port,
              const TunnelCallbacks& calls) const noexcept {
    return kiv_proxy_http_attach(box.get(), object_, proxy.host.c_str(), proxy.port,
                                 proxy.user.c_str(), proxy.password.c_str(), host.c_str(), port,
                                 calls.on_ready.function(), calls.on_ready.argument(),
                                 calls.on_failure.function(), calls.on_failure.argument(),
                                 calls.on_data.function(), calls.on_data.argument(),
                                 calls.on_close.function(), calls.on_close.argument()) == 1;
  }
};

}  // namespace kiv

#endif
