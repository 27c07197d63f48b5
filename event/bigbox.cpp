// Making and freeing a big box, and asking about it.
#include "event/bigbox.h"

#include <algorithm>
#include <new>

#include "base/owned.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

constexpr std::int32_t kMostSlaves = 1000;
constexpr std::int32_t kMostClients = 50000;

// Like kivx_ThreadBox_destroy, but not for another box that has its record by now.
void end_thread_box(kiv_box* box, std::int32_t thread) {
  on_live_box(box, 0, Wake::always("ThreadBox_destroy"), [=](kiv_box& live) {
    if (live.owner_thread == thread) kiv_box_BreakLoop(&live);
    return 1;
  });
}

// Also takes a big box that is only half made.
void tear_down(kiv_bigbox& big) {
  big.listeners.for_each([&](Listener& listener) { release_listener(big, listener); });
  big.listeners.clear();
  big.clients.for_each([](Client& client) { release_client(client); });
  big.clients.clear();
  for (std::int32_t i = 0; i < big.slave_count; ++i) {
    end_thread_box(big.slaves[i].box, big.slaves[i].thread);
  }
  big.slaves.reset();
  big.slave_count = 0;
  end_thread_box(big.master, big.master_thread);
  big.master = nullptr;
}

bool add_slave(kiv_bigbox& big) {
  Slave& slave = big.slaves[big.slave_count];
  new (&slave) Slave;
  slave.box = kivx_ThreadBox_create();
  if (slave.box == nullptr) return false;
  slave.thread = kivx_box_GetThreadId(slave.box);
  ++big.slave_count;
  return true;
}

bool fill(kiv_bigbox& big, std::int32_t slaves) {
  big.slaves = base::RawStorage<Slave>::allocate(static_cast<std::size_t>(slaves));
  if (!big.slaves) return false;
  big.master = kivx_ThreadBox_create();
  if (big.master == nullptr) return false;
  big.master_thread = kivx_box_GetThreadId(big.master);
  while (big.slave_count < slaves) {
    if (!add_slave(big)) return false;
  }
  std::sort(big.slaves.get(), big.slaves.get() + slaves,
            [](const Slave& a, const Slave& b) { return a.thread < b.thread; });
  return true;
}

kiv_box* slave_box_of_this_thread(const kiv_bigbox& big) {
  const std::int32_t thread = platform::current_thread_id();
  const Slave* const end = big.slaves.get() + big.slave_count;
  const Slave* const slave = std::lower_bound<const Slave*>(
      big.slaves.get(), end, thread, [](const Slave& a, std::int32_t id) { return a.thread < id; });
  return slave != end && slave->thread == thread ? slave->box : nullptr;
}

void set_known(kiv_bigbox& big, bool known) {
  const base::Guard guard(big.lock);
  big.is_known = known;
}

}  // namespace

Handles<kiv_bigbox>& bigboxes() {
  static Handles<kiv_bigbox> all;
  return all;
}

}  // namespace kiv::event

using namespace kiv;
using namespace kiv::event;

kiv_bigbox* KIV_CALL kiv_bigbox_make(std::int32_t slaves, std::int32_t max_clients) KIV_NOEXCEPT {
  kiv_bigbox* const big = bigboxes().take_record();
  if (big == nullptr) return nullptr;
  big->max_clients = std::clamp(max_clients, 1, kMostClients);
  if (fill(*big, std::clamp(slaves, 1, kMostSlaves))) {
    set_known(*big, true);
    return big;
  }
  tear_down(*big);
  bigboxes().give_back(big);
  return nullptr;
}

void KIV_CALL kiv_bigbox_free(kiv_bigbox* big) KIV_NOEXCEPT {
  // All under the lock: who finds the handle dead may close its sockets at once.
  const bool was_live = on_live_bigbox(big, false, [](kiv_bigbox& live) {
    live.is_known = false;
    tear_down(live);
    return true;
  });
  if (was_live) bigboxes().give_back(big);
}

std::int32_t KIV_CALL kiv_bigbox_nnodes(kiv_bigbox* big) KIV_NOEXCEPT {
  return on_live_bigbox(
      big, 0, [](kiv_bigbox& live) { return static_cast<std::int32_t>(live.clients.count()); });
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

int KIV_CALL kivx_bigbox_SetFairRounds(kiv_bigbox* big, int on) KIV_NOEXCEPT {
  return on_live_bigbox(big, 0, [=](kiv_bigbox& live) {
    const auto set = [=](zu_box& raw) { return zu_box_SetFairRounds(&raw, on); };
    on_master(live, kNoWake, set);
    for (std::int32_t i = 0; i < live.slave_count; ++i) {
      on_box_of_thread(live.slaves[i].box, live.slaves[i].thread, kNoWake, set);
    }
    return 1;
  });
}
