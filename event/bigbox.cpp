// Making and freeing a big box, asking about it; the registry of big boxes.
#include <algorithm>
#include <cstddef>
#include <new>
#include <type_traits>

#include "base/owned.h"
#include "event/bigbox_core.h"
#include "event/bigbox_registry.h"
#include "event/read_pool.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

static_assert(std::is_standard_layout_v<kiv_bigbox> && std::is_standard_layout_v<Slave> &&
              std::is_standard_layout_v<Listener> && std::is_standard_layout_v<Client>);
static_assert(sizeof(void*) != 4 ||
              (offsetof(kiv_bigbox, listeners) == 4 && offsetof(kiv_bigbox, slaves) == 8 &&
               offsetof(kiv_bigbox, slave_count) == 12 && offsetof(kiv_bigbox, clients) == 16 &&
               offsetof(kiv_bigbox, max_clients) == 20 && sizeof(kiv_bigbox) == 24));
static_assert(sizeof(void*) != 4 || (sizeof(Slave) == 12 && offsetof(Slave, clients) == 8));
static_assert(sizeof(void*) != 4 ||
              (offsetof(Listener, port) == 4 && offsetof(Listener, socket) == 8 &&
               offsetof(Listener, accept) == 12));
static_assert(sizeof(void*) != 4 ||
              (offsetof(Client, slave_box) == 4 && offsetof(Client, socket) == 8 &&
               offsetof(Client, peer_ip) == 12 && offsetof(Client, peer_port) == 16 &&
               offsetof(Client, read) == 20 && offsetof(Client, close) == 28 &&
               offsetof(Client, writable) == 36));

constexpr std::int32_t kRegistryBuckets = 1024;
constexpr std::int32_t kMostSlaves = 1000;
constexpr std::int32_t kMostClients = 50000;

void KIV_CALL free_listener(void* listener, void* master) {
  release_listener(static_cast<kiv_box*>(master), static_cast<Listener*>(listener));
}

void KIV_CALL free_client(void* client, void*) {
  release_client(static_cast<Client*>(client));
}

void KIV_CALL free_slave(void* slave_memory, void*) {
  const base::Owned<Slave> slave(static_cast<Slave*>(slave_memory));
  zu_itree_free(slave->clients);
  kivx_ThreadBox_destroy(slave->box);
}

// Also takes a big box that is only half made.
void tear_down(kiv_bigbox& big) {
  zu_itree_freex(big.listeners, free_listener, big.master);
  zu_itree_freex(big.clients, free_client, nullptr);
  zu_itree_freex(big.slaves, free_slave, nullptr);
  kivx_ThreadBox_destroy(big.master);
}

bool add_slave(kiv_bigbox& big) {
  auto memory = base::Owned<Slave>::allocate();
  if (!memory) return false;
  auto* slave = new (memory.get()) Slave;
  slave->box = kivx_ThreadBox_create();
  slave->clients = zu_itree_malloc();
  slave->thread = kivx_box_GetThreadId(slave->box);
  if (slave->box == nullptr || slave->clients == nullptr ||
      zu_itree_insert(big.slaves, slave->thread, slave) != 1) {
    free_slave(memory.release(), nullptr);
    return false;
  }
  (void)memory.release();
  return true;
}

bool fill(kiv_bigbox& big) {
  big.listeners = zu_itree_malloc();
  big.slaves = zu_itree_malloc();
  big.clients = zu_itree_malloc();
  if (big.listeners == nullptr || big.slaves == nullptr || big.clients == nullptr) return false;
  big.master = kivx_ThreadBox_create();
  if (big.master == nullptr) return false;
  for (std::int32_t i = 0; i < big.slave_count; ++i) {
    if (!add_slave(big)) return false;
  }
  return true;
}

kiv_box* slave_box_of_this_thread(const kiv_bigbox& big) {
  const Slave* slave = find_slave(big, platform::current_thread_id());
  return slave == nullptr ? nullptr : slave->box;
}

}  // namespace

base::Registry& bigbox_registry() {
  static base::Registry registry(kRegistryBuckets);
  return registry;
}

bool bigbox_registry_setup() {
  return bigbox_registry().setup();
}

void bigbox_registry_shutdown() {
  bigbox_registry().shutdown();
  read_pool_shutdown();
}

}  // namespace kiv::event

using namespace kiv;
using namespace kiv::event;

kiv_bigbox* KIV_CALL kiv_bigbox_make(std::int32_t slaves, std::int32_t max_clients) KIV_NOEXCEPT {
  auto memory = base::Owned<kiv_bigbox>::allocate();
  if (!memory) return nullptr;
  auto* big = new (memory.get()) kiv_bigbox;
  big->slave_count = std::clamp(slaves, 1, kMostSlaves);
  big->max_clients = std::clamp(max_clients, 1, kMostClients);
  if (!fill(*big) || !bigbox_registry().insert(big)) {
    tear_down(*big);
    return nullptr;
  }
  return memory.release();
}

void KIV_CALL kiv_bigbox_free(kiv_bigbox* big) KIV_NOEXCEPT {
  // All under the lock: who finds the handle dead may close its sockets at once.
  on_live_bigbox(big, 0, [](kiv_bigbox& live) {
    bigbox_registry().remove(&live);
    tear_down(live);
    _zu_free(&live);
    return 1;
  });
}

std::int32_t KIV_CALL kiv_bigbox_nnodes(kiv_bigbox* big) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [](kiv_bigbox& live) { return zu_itree_nnodes(live.clients); });
}

kiv_box* KIV_CALL kiv_bigbox_GetMasterBox(kiv_bigbox* big) KIV_NOEXCEPT {
  return on_live_bigbox<kiv_box*>(big, nullptr, [](kiv_bigbox& live) { return live.master; });
}

std::int32_t KIV_CALL kiv_bigbox_InvokeClientID(kiv_bigbox* big) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [](kiv_bigbox& live) {
    return std::max(kiv_box_GetThisSockId(slave_box_of_this_thread(live)), 0);
  });
}

kiv_box* KIV_CALL kiv_bigbox_InvokeSlaveBox(kiv_bigbox* big) KIV_NOEXCEPT {
  return on_live_bigbox<kiv_box*>(big, nullptr, slave_box_of_this_thread);
}
