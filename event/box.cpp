// Making, running and ending a raw box.
#include <cstddef>
#include <new>
#include <type_traits>

#include "base/owned.h"
#include "event/box_core.h"

namespace kiv::event {
namespace {

static_assert(std::is_standard_layout_v<zu_box> && std::is_standard_layout_v<SocketEntry>);
static_assert(std::is_standard_layout_v<LocalTcpClient> &&
              std::is_standard_layout_v<RemoteTcpClient> &&
              std::is_standard_layout_v<LocalUdpClient> &&
              std::is_standard_layout_v<LocalTcpServer> &&
              std::is_standard_layout_v<LocalUdpServer>);
static_assert(sizeof(void*) != 4 ||
              (offsetof(zu_box, lock) == 4 && offsetof(zu_box, sockets) == 16 &&
               offsetof(zu_box, socket_count) == 24 && offsetof(zu_box, timer_count) == 32 &&
               offsetof(zu_box, handle) == 40 && offsetof(zu_box, is_looping) == 44));
static_assert(sizeof(void*) != 4 || (sizeof(SocketEntry) == 12 && sizeof(TimerEntry) == 16));
static_assert(sizeof(void*) != 4 ||
              (sizeof(ClientEndpoint) == 556 && offsetof(ClientEndpoint, ip) == 6 &&
               offsetof(ClientEndpoint, address) == 264 && offsetof(ClientEndpoint, host) == 268 &&
               offsetof(ClientEndpoint, socket) == 528 && offsetof(ClientEndpoint, peer) == 532 &&
               offsetof(ClientEndpoint, state) == 552));
static_assert(sizeof(void*) != 4 ||
              (sizeof(ServerEndpoint) == 68 && offsetof(ServerEndpoint, local) == 4 &&
               offsetof(ServerEndpoint, ip) == 20 && offsetof(ServerEndpoint, port) == 36 &&
               offsetof(ServerEndpoint, socket) == 48 && offsetof(ServerEndpoint, state) == 64));
static_assert(sizeof(void*) != 4 ||
              (offsetof(LocalTcpClient, max_read_length) == 560 &&
               offsetof(LocalTcpClient, connect) == 564 && sizeof(LocalTcpClient) == 596 &&
               sizeof(RemoteTcpClient) == 24 && sizeof(LocalUdpClient) == 568 &&
               sizeof(LocalTcpServer) == 80 && sizeof(LocalUdpServer) == 80));

void KIV_CALL release_socket(void* entry, void*) {
  close_and_free(static_cast<SocketEntry*>(entry));
}

void KIV_CALL release_timer(void* entry, void*) {
  _zu_free(entry);
}

zu_ihash* make_table(void**& buckets, std::int32_t count) {
  buckets = base::Owned<void*>::allocate(static_cast<std::size_t>(count)).release();
  return zu_ihash_mallocx(buckets, count, nullptr);
}

// Also takes a box that is only half made.
void tear_down(zu_box& box) {
  zu_ihash_freex(box.timers, release_timer, nullptr);
  _zu_free(box.timer_buckets);
  zu_ihash_freex(box.sockets, release_socket, nullptr);
  _zu_free(box.socket_buckets);
  Engine::free(box.engine);
  box = zu_box{};
}

void end(zu_box* box, Fate fate) {
  tear_down(*box);
  if (fate == Fate::free) _zu_free(box);
}

// The loop still needs the box that one of its callbacks ends: its own end then does the rest.
// False when no loop runs.
bool leave_to_loop(zu_box& box, Fate fate) {
  const base::Guard guard(box.lock);
  if (box.is_looping == 0) return false;
  if (box.fate < fate) box.fate = fate;
  box.engine->break_loop();
  return true;
}

bool begin_loop(zu_box& box) {
  const base::Guard guard(box.lock);
  if (box.is_looping != 0) return false;
  box.is_looping = 1;
  return true;
}

Fate end_loop(zu_box& box) {
  const base::Guard guard(box.lock);
  box.is_looping = 0;
  return box.fate;
}

}  // namespace
}  // namespace kiv::event

using namespace kiv::event;

zu_box* KIV_CALL zu_box_mallocx(std::uintptr_t lock) KIV_NOEXCEPT {
  auto memory = kiv::base::Owned<zu_box>::allocate();
  if (!memory) return nullptr;
  zu_box* box = new (memory.get()) zu_box{};
  box->engine = Engine::make();
  box->lock = reinterpret_cast<zu_sem*>(lock);
  box->handle = box;
  box->sockets = make_table(box->socket_buckets, kSocketBuckets);
  box->timers = make_table(box->timer_buckets, kTimerBuckets);
  if (box->engine == nullptr || box->sockets == nullptr || box->timers == nullptr) {
    tear_down(*box);
    return nullptr;
  }
  return memory.release();
}

zu_box* KIV_CALL zu_box_malloc(void) KIV_NOEXCEPT {
  return zu_box_mallocx(0);
}

void KIV_CALL zu_box_destroy(zu_box* box) KIV_NOEXCEPT {
  if (is_usable(box) && !leave_to_loop(*box, Fate::destroy)) end(box, Fate::destroy);
}

void KIV_CALL zu_box_free(zu_box* box) KIV_NOEXCEPT {
  if (box != nullptr && !leave_to_loop(*box, Fate::free)) end(box, Fate::free);
}

void KIV_CALL zu_box_StartLoop(zu_box* box) KIV_NOEXCEPT {
  if (!is_usable(box) || !begin_loop(*box)) return;
  box->engine->run(box->lock);
  const Fate fate = end_loop(*box);
  if (fate != Fate::live) end(box, fate);
}

void KIV_CALL zu_box_BreakLoop(zu_box* box) KIV_NOEXCEPT {
  if (is_usable(box)) box->engine->break_loop();
}

void KIV_CALL zu_box_SetUserCallbackHandle(zu_box* box, void* handle) KIV_NOEXCEPT {
  if (is_usable(box)) box->handle = handle;
}
