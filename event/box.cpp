// Making, running and ending a raw box.
#include <new>

#include "base/owned.h"
#include "event/raw_box.h"
#include "event/stream.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

// A client of a big box that was to be closed is the library's, too.
bool is_to_close(const Socket& socket) {
  return socket.is_own() || (socket.stream != nullptr && socket.stream->is_closing);
}

void close_own(const Socket& socket) {
  if (socket.kind == SocketKind::local_tcp_server) {
    platform::listener_close(socket.id);
  } else {
    platform::socket_close(socket.id);
  }
}

// The network is started once more for each box: a shut-down would close the sockets of one that
// still ends, whose numbers may be somebody else's when it closes them itself.
bool open(zu_box& box) {
  zu_sock_startup();
  if (!box.poller.open()) return false;
  box.is_live = platform::network_start();
  return box.is_live;
}

void end_box(zu_box* box, Fate fate) {
  box->~zu_box();
  new (box) zu_box;
  if (fate == Fate::free) base::destroy(box);
}

// The loop still needs the box that one of its callbacks ends: its own end then does the rest.
// False when no loop runs.
bool leave_to_loop(zu_box& box, Fate fate) {
  const base::Guard guard(box.lock);
  if (!box.is_looping) return false;
  if (box.fate < fate) box.fate = fate;
  box.break_flag.store(1, std::memory_order_release);
  return true;
}

bool begin_loop(zu_box& box) {
  const base::Guard guard(box.lock);
  if (box.is_looping) return false;
  box.is_looping = true;
  return true;
}

Fate end_loop(zu_box& box) {
  const base::Guard guard(box.lock);
  box.is_looping = false;
  return box.fate;
}

}  // namespace

void delete_socket(zu_box& box, Socket& socket) {
  if (!remove_waits(box, socket)) return;
  close_own(socket);
  give_away(box, socket);
}

bool set_capacity(zu_box& box, std::int32_t count) {
  if (count < 1 || count > platform::Poller::capacity()) return false;
  box.max_waits = count;
  return true;
}

}  // namespace kiv::event

using namespace kiv::event;

// A release function of a post may still ask the box, which refuses everything by then.
zu_box::~zu_box() {
  const bool was_live = is_live;
  is_live = false;
  if (wake_socket > 0) kiv::platform::socket_close(wake_socket);
  sockets.for_each([](Socket& socket) {
    if (is_to_close(socket)) close_own(socket);
    drop_stream(socket);
    kiv::base::destroy(&socket);
  });
  timers.for_each([](Timer& timer) { kiv::base::destroy(&timer); });
  if (was_live) kiv::platform::network_stop();
}

zu_box* KIV_CALL zu_box_mallocx(std::uintptr_t lock) KIV_NOEXCEPT {
  auto box = kiv::base::make<zu_box>();
  if (!box || !open(*box)) return nullptr;
  box->lock = reinterpret_cast<zu_sem*>(lock);
  box->handle = box.get();
  return box.release();
}

zu_box* KIV_CALL zu_box_malloc(void) KIV_NOEXCEPT {
  return zu_box_mallocx(0);
}

void KIV_CALL zu_box_destroy(zu_box* box) KIV_NOEXCEPT {
  if (is_usable(box) && !leave_to_loop(*box, Fate::destroy)) end_box(box, Fate::destroy);
}

void KIV_CALL zu_box_free(zu_box* box) KIV_NOEXCEPT {
  if (box != nullptr && !leave_to_loop(*box, Fate::free)) end_box(box, Fate::free);
}

void KIV_CALL zu_box_StartLoop(zu_box* box) KIV_NOEXCEPT {
  if (!is_usable(box) || !begin_loop(*box)) return;
  run_loop(*box);
  const Fate fate = end_loop(*box);
  if (fate != Fate::live) end_box(box, fate);
}

void KIV_CALL zu_box_BreakLoop(zu_box* box) KIV_NOEXCEPT {
  if (is_usable(box)) box->break_flag.store(1, std::memory_order_release);
}

void KIV_CALL zu_box_SetUserCallbackHandle(zu_box* box, void* handle) KIV_NOEXCEPT {
  if (is_usable(box)) box->handle = handle;
}

int KIV_CALL zu_box_SetFairRounds(zu_box* box, int on) KIV_NOEXCEPT {
  if (!is_usable(box)) return 0;
  const kiv::base::Guard guard(box->lock);
  box->is_fair = on != 0;
  return 1;
}

int KIV_CALL zu_box_SetCapacity(zu_box* box, std::int32_t count) KIV_NOEXCEPT {
  return is_usable(box) && set_capacity(*box, count);
}
