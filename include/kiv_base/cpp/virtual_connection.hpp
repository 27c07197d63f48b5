// Virtual connections over UDP (kiv_base/protocol.h): any thread may call; callbacks run on the
// box's thread and may close, reset and destroy everything.
#ifndef KIV_BASE_CPP_VIRTUAL_CONNECTION_HPP
#define KIV_BASE_CPP_VIRTUAL_CONNECTION_HPP

#include "kiv_base/cpp/box.hpp"
#include "kiv_base/protocol.h"

namespace kiv {

class UvClientRef;
class UvServerRef;
using UvClient = Owner<UvClientRef, kiv_uvc_free>;
using UvServer = Owner<UvServerRef, kiv_uvs_free>;

// ---- Client -------------------------------------------------------------------------------------

template <typename Client = UvClientRef>
struct UvClientKind {
  using Function = kiv_uvc_fn;
  using Signature = void(Client);
  template <typename Call>
  static int KIV_CALL call(kiv_uvc* client, void* argument) noexcept {
    Call::on(argument, Client(client));
    return 0;
  }
};
// The bytes have a NUL after them.
template <typename Client = UvClientRef>
struct UvClientDataKind {
  using Function = kiv_uvc_data_fn;
  using Signature = void(Client, Buffer);
  template <typename Call>
  static int KIV_CALL call(kiv_uvc* client, void* argument, char* body,
                           std::int32_t length) noexcept {
    Call::on(argument, Client(client), Buffer(body, length));
    return 0;
  }
};
// A datagram that does not belong to the connection, and its sender.
template <typename Client = UvClientRef>
struct UvClientForeignKind {
  using Function = kiv_uvc_foreign_fn;
  using Signature = void(Client, TextRef, std::uint16_t, Buffer);
  template <typename Call>
  static int KIV_CALL call(kiv_uvc* client, void* argument, const char* sender_ip,
                           std::uint16_t sender_port, char* datagram,
                           std::int32_t length) noexcept {
    Call::on(argument, Client(client), TextRef(sender_ip), sender_port, Buffer(datagram, length));
    return 0;
  }
};

struct UvClientCallbacks {
  Callback<UvClientKind<>> on_connected = {};
  Callback<UvClientKind<>> on_failed = {};
  Callback<UvClientDataKind<>> on_data = {};
  Callback<UvClientKind<>> on_lost = {};
  Callback<UvClientForeignKind<>> on_foreign = {};

  // Binds the handler's public members of these names: one function each; on_foreign may be
  // missing.
  template <typename Handler>
  static constexpr UvClientCallbacks of(Handler& handler) noexcept {
    UvClientCallbacks callbacks;
    callbacks.on_connected = bind<&Handler::on_connected>(handler);
    callbacks.on_failed = bind<&Handler::on_failed>(handler);
    callbacks.on_data = bind<&Handler::on_data>(handler);
    callbacks.on_lost = bind<&Handler::on_lost>(handler);
    if constexpr (requires { &Handler::on_foreign; })
      callbacks.on_foreign = bind<&Handler::on_foreign>(handler);
    return callbacks;
  }
};

class UvClientRef : public Ref<kiv_uvc> {
 public:
  using Ref::Ref;
  // Returns null if out of memory.
  static UvClient make() noexcept { return UvClient(kiv_uvc_make()); }

  // False where C returns 0. If `socket` is above 0, that socket is used and still belongs
  // to the caller.
  bool attach(BoxRef box, TextRef host, std::uint16_t port, const UvClientCallbacks& calls,
              SocketId socket = 0) const noexcept {
    return kivx_uvc_attach(box.get(), object_, socket, host.c_str(), port,
                           calls.on_connected.function(), calls.on_connected.argument(),
                           calls.on_failed.function(), calls.on_failed.argument(),
                           calls.on_data.function(), calls.on_data.argument(),
                           calls.on_lost.function(), calls.on_lost.argument(),
                           calls.on_foreign.function(), calls.on_foreign.argument()) == 1;
  }
  // Returns the length of the datagram, including 2 bytes of header; -1 or 0 on failure. A client
  // that writes in every period of 2 s sends no keep-alive, and the server considers it lost: pause
  // now and then.
  std::int32_t write(Data bytes) const noexcept {
    return kiv_uvc_write(object_, bytes.data(), bytes.size());
  }
  bool close() const noexcept { return kiv_uvc_close(object_) == 1; }
};

// ---- Server -------------------------------------------------------------------------------------

using UvClientId = std::int32_t;

template <typename Server = UvServerRef>
struct UvConnectKind {
  using Function = kiv_uvs_connect_fn;
  using Signature = void(Server, UvClientId, TextRef, std::uint16_t);
  template <typename Call>
  static int KIV_CALL call(kiv_uvs* server, void* argument, std::int32_t client, const char* ip,
                           std::uint16_t port) noexcept {
    Call::on(argument, Server(server), client, TextRef(ip), port);
    return 0;
  }
};
template <typename Server = UvServerRef>
struct UvServerForeignKind {
  using Function = kiv_uvs_foreign_fn;
  using Signature = void(Server, TextRef, std::uint16_t, Buffer);
  template <typename Call>
  static int KIV_CALL call(kiv_uvs* server, void* argument, const char* sender_ip,
                           std::uint16_t sender_port, char* datagram,
                           std::int32_t length) noexcept {
    Call::on(argument, Server(server), TextRef(sender_ip), sender_port, Buffer(datagram, length));
    return 0;
  }
};
// The client is that of current_client(), called in the callback itself.
template <typename Server = UvServerRef>
struct UvServerDataKind {
  using Function = kiv_uvs_data_fn;
  using Signature = void(Server, Buffer);
  template <typename Call>
  static int KIV_CALL call(kiv_uvs* server, void* argument, char* body,
                           std::int32_t length) noexcept {
    Call::on(argument, Server(server), Buffer(body, length));
    return 0;
  }
};
template <typename Server = UvServerRef>
struct UvServerCloseKind {
  using Function = kiv_uvs_close_fn;
  using Signature = void(Server);
  template <typename Call>
  static int KIV_CALL call(kiv_uvs* server, void* argument) noexcept {
    Call::on(argument, Server(server));
    return 0;
  }
};

class UvServerRef : public Ref<kiv_uvs> {
 public:
  using Ref::Ref;
  // Returns null if out of memory.
  static UvServer make() noexcept { return UvServer(kiv_uvs_make()); }

  // False where C returns 0.
  bool attach(BoxRef box, std::uint16_t port, Callback<UvConnectKind<>> on_connect) const noexcept {
    return kiv_uvs_attach(box.get(), object_, port, on_connect.function(), nullptr, nullptr,
                          on_connect.argument()) == 1;
  }
  // Reports foreign datagrams, too: the library has one argument for both callbacks, so one
  // handler has both.
  template <auto OnConnect, auto OnForeign, typename Handler>
  bool attach_with_foreign(BoxRef box, std::uint16_t port, Handler& handler) const noexcept {
    const Callback<UvConnectKind<>> on_connect = bind<OnConnect>(handler);
    const Callback<UvServerForeignKind<>> on_foreign = bind<OnForeign>(handler);
    return kiv_uvs_attach(box.get(), object_, port, on_connect.function(), nullptr,
                          on_foreign.function(), on_connect.argument()) == 1;
  }
  // Uses a UDP socket of the caller's or, below 1, opens one on a port that the system chooses.
  bool attach_socket(BoxRef box, SocketId socket,
                     Callback<UvConnectKind<>> on_connect) const noexcept {
    return kivx_uvs_attach(box.get(), object_, socket, on_connect.function(), nullptr, nullptr,
                           on_connect.argument()) == 1;
  }
  // `on_close` is repeated until the client is removed: remove it there.
  bool accept(UvClientId client, Callback<UvServerDataKind<>> on_data,
              Callback<UvServerCloseKind<>> on_close) const noexcept {
    return kiv_uvs_AcceptClient(object_, client, on_data.function(), on_data.argument(),
                                on_close.function(), on_close.argument()) == 1;
  }
  std::int32_t write(UvClientId client, Data bytes) const noexcept {
    return kiv_uvs_write(object_, client, bytes.data(), bytes.size());
  }
  bool remove(UvClientId client) const noexcept {
    return kiv_uvs_DeleteClient(object_, client) == 1;
  }
  // Returns -1 before the first callback.
  UvClientId current_client() const noexcept { return kiv_uvs_GetThisClientId(object_); }
};

}  // namespace kiv

#endif
