// Pairs of functions that do one thing, through the C++ wrapper and in plain C: the compiler makes
// the same code of both (check_cost.py). A name that ends in _face goes with the one that ends in
// _c.
#include <cstring>

#include "kiv_base.hpp"

#define EXPORTED extern "C" [[gnu::noinline]]

// ---- An echo server: callbacks, their arguments, and three calls --------------------------------

namespace {

struct EchoFace {
  int accepted = 0;
  std::int64_t bytes = 0;

  void on_read(kiv::BoxRef box, kiv::SocketId socket, kiv::Buffer data) {
    bytes += data.size();
    box.write(socket, data);
  }
  void on_close(kiv::BoxRef box, kiv::SocketId socket) { box.remove(socket); }
  void on_accept(kiv::BoxRef box, kiv::SocketId, kiv::SocketId socket, kiv::TextRef,
                 std::uint16_t) {
    ++accepted;
    box.adopt(socket, kiv::bind<&EchoFace::on_read>(*this), kiv::bind<&EchoFace::on_close>(*this));
  }
};

struct EchoC {
  int accepted = 0;
  std::int64_t bytes = 0;
};

extern "C" {
static void KIV_CALL read_c(void* box, void* argument, std::int32_t socket, char* data,
                            std::int32_t length) {
  static_cast<EchoC*>(argument)->bytes += length;
  kiv_box_TcpWrite(static_cast<kiv_box*>(box), socket, data, length);
}
static void KIV_CALL close_c(void* box, void*, std::int32_t socket) {
  kiv_box_DeleteSock(static_cast<kiv_box*>(box), socket);
}
static void KIV_CALL accept_c(void* box, void* argument, std::int32_t, std::int32_t socket,
                              const char*, std::uint16_t) {
  ++static_cast<EchoC*>(argument)->accepted;
  kiv_box_AcceptTcpClient(static_cast<kiv_box*>(box), socket, read_c, argument, close_c, argument);
}
}

}  // namespace

EXPORTED std::int32_t listen_face(kiv_box* box, EchoFace* echo) {
  return kiv::BoxRef(box).listen("127.0.0.1", 7007, kiv::bind<&EchoFace::on_accept>(*echo));
}
EXPORTED std::int32_t listen_c(kiv_box* box, EchoC* echo) {
  return kiv_box_NewTcpServer(box, "127.0.0.1", 7007, accept_c, echo);
}

// ---- A callable with captures, as a timer -------------------------------------------------------

EXPORTED void wait_face() {
  int left = 3;
  auto box = kiv::Box::make();
  auto on_timer = [&left](kiv::BoxRef self, kiv::TimerId timer, std::int32_t) {
    if (--left > 0) return;
    self.remove_timer(timer);
    self.break_loop();
  };
  box.every(10, on_timer);
  box.loop();
}

extern "C" {
static void KIV_CALL timer_c(void* box, void* argument, std::int32_t timer, std::int32_t) {
  int* const left = *static_cast<int**>(argument);
  if (--*left > 0) return;
  kiv_box_DeleteTimer(static_cast<kiv_box*>(box), timer);
  kiv_box_BreakLoop(static_cast<kiv_box*>(box));
}
}
EXPORTED void wait_c() {
  int left = 3;
  int* argument = &left;
  kiv_box* const box = kiv_box_new();
  kiv_box_NewLoopTimer(box, 10, timer_c, &argument);
  kiv_box_loop(box);
}

// ---- An owner, a borrowed text, and the end of the owner ----------------------------------------

EXPORTED bool has_user_face(const char* text, char* out) {
  const kiv::Uri uri = kiv::Uri::parse(text);
  if (!uri) return false;
  const kiv::TextRef user = uri.user();
  if (!user) return false;
  std::strcpy(out, user.c_str());
  return true;
}
EXPORTED bool has_user_c(const char* text, char* out) {
  kiv_uri* const uri = kiv_uri_mallocx(text, 0);
  bool found = false;
  if (uri != nullptr) {
    const char* const user = kiv_uri_GetUser(uri);
    if (user != nullptr) {
      std::strcpy(out, user);
      found = true;
    }
  }
  kiv_uri_free(uri);
  return found;
}

// ---- A packet, made and sent --------------------------------------------------------------------

EXPORTED bool greet_face(kiv_box* box, std::int32_t socket, kiv_proto* record, const char* name) {
  const kiv::PacketRef packet(record);
  if (!packet.start("login") || !packet.add("user", name)) return false;
  return kiv::BoxRef(box).write(socket, packet.bytes()) > 0;
}
EXPORTED bool greet_c(kiv_box* box, std::int32_t socket, kiv_proto* record, const char* name) {
  if (kiv_proto_PackCmd(record, "login") != 1) return false;
  if (kiv_proto_PackPara(record, "user", name) != 1) return false;
  const char* bytes = nullptr;
  std::int32_t length = 0;
  kiv_proto_GetPacket(record, &bytes, &length);
  return kiv_box_TcpWrite(box, socket, bytes, length) > 0;
}
