// Random scripts against a model of the loop's order: sockets of all sorts that become ready, end
// and come back under the same number within callbacks, timers, posts, few sockets and many.
// KIV_ORDER_SCRIPTS says how many, KIV_ORDER_SEED which one is the first; thousands take minutes.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kiv_base/event.h"
#include "platform/socket.h"
#include "tests/seams/clock_seam.h"
#include "tests/seams/order_model.h"
#include "tests/seams/scripted_socket.h"
#include "tests/support/sockets.h"

namespace {

using namespace kiv::test;

std::map<std::string, int> seen;  // callbacks, by what they tell

class Script {
 public:
  Script(unsigned seed, bool is_fair, std::size_t count)
      : random_(seed), order_(is_fair, count), slots_(count) {
    zu_box_SetUserCallbackHandle(box_, this);
    zu_box_SetFairRounds(box_, is_fair);
    EXPECT_EQ(zu_box_EnablePost(box_), 1);
    EXPECT_EQ(kiv::platform::socket_bind(nobody_.id(), kiv::platform::wire_address(kLoopback, 0)),
              0);
    for (std::size_t i = 0; i < count; ++i) {
      slots_[i].number = i;
      for (int kind = 0; kind < kKinds; ++kind) slots_[i].hooks[kind] = {this, &slots_[i], kind};
      open(slots_[i]);
      if (slots_[i].since(*this)[kRead] == 0) start(slots_[i], kRead);
    }
    add_timer(kAlwaysMs);  // so that no wait is without an end
    end_callback();
  }
  ~Script() {
    for (Slot& slot : slots_) close(slot);
    zu_box_free(box_);
  }

  int run() {
    zu_box_StartLoop(box_);
    return calls_;
  }

 private:
  static constexpr std::uint32_t kAlwaysMs = 7;
  struct Slot;
  struct Hook {
    Script* script;
    Slot* slot;
    int kind;
  };
  struct Slot : ScriptedSocket {
    std::size_t number;
    Hook hooks[kKinds];

    int* since(Script& script) const { return script.order_.sockets[number].since; }
  };

  // ---- opening and closing

  void open(Slot& slot) {
    slot.begin(Slot::Type(random_() % (Slot::listener + 1)));
    if (slot.type == Slot::datagram) slot.near = udp_socket();
    if (slot.type == Slot::file) slot.near = Socket(memfd_create("file", MFD_CLOEXEC));
    if (slot.is_pair()) {
      int ends[2];
      EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
      slot.near = Socket(ends[0]);
      slot.far = Socket(ends[1]);
      zu_sock_set_send_buff(slot.near.id(), 4096);
    } else if (slot.type == Slot::stream || slot.type == Slot::own_stream) {
      slot.near = tcp_connect(meeting_.local_port());
      meet(slot);
    }
    if (slot.type == Slot::own_pair || slot.type == Slot::own_stream) return adopt(slot);
    if (slot.is_pair() || slot.type == Slot::stream) zu_sock_set_nonblock(slot.near.id());
    if (slot.type == Slot::own_datagram) {
      own(slot, zu_box_sock_AddLocalUdpServer(box_, "127.0.0.1", 0, on_datagram, &slot));
    } else if (slot.type == Slot::listener) {
      own(slot, zu_box_sock_AddLocalTcpServer(box_, "127.0.0.1", 0, on_accept, &slot));
    } else if (slot.type == Slot::client) {
      const bool is_met = random_() % 2 == 0;
      own(slot, zu_box_sock_AddLocalTcpClient(
                    box_, "127.0.0.1", (is_met ? meeting_ : nobody_).local_port(), on_connect,
                    &slot, on_failure, &slot, on_read, &slot, on_close, &slot));
      slot.since(*this)[kWrite] = slot.since(*this)[kExcept] = slot.since(*this)[kRead];
      slot.since(*this)[kRead] = 0;
      slot.is_connecting = true;
      if (is_met) meet(slot);
      wait_until_shown(slot.near.id(), POLLOUT);
    }
  }
  void meet(Slot& slot) {
    wait_until_shown(meeting_.id(), POLLIN);
    slot.far = tcp_accept(meeting_);
    zu_sock_set_nondelay(slot.far.id());
  }
  void adopt(Slot& slot) {
    own(slot,
        zu_box_sock_AddRemoteTcpClient(box_, slot.near.release(), on_read, &slot, on_close, &slot));
    zu_box_sock_SetMaxReadLen(box_, slot.near.id(), std::int32_t(1 + random_() % 8));
  }
  void own(Slot& slot, std::int32_t id) {
    EXPECT_GT(id, 0);
    slot.near = Socket(id);
    slot.since(*this)[kRead] = ++registrations_;
  }
  void close(Slot& slot) {
    const bool is_own = zu_box_sock_IsExist(box_, slot.near.id()) != 0;
    zu_box_sock_Delete(box_, slot.near.id());
    if (is_own) slot.near.release();
    slot.end();
    std::fill_n(slot.since(*this), kKinds, 0);
  }

  // ---- what happens to an open socket

  void start(Slot& slot, int kind) {
    if (slot.is_connecting) return;
    const auto import = kind == kRead    ? zu_box_sock_ImportSocketId_ForRead
                        : kind == kWrite ? zu_box_sock_ImportSocketId_ForWrite
                                         : zu_box_sock_ImportSocketId_ForExcept;
    int& since = slot.since(*this)[kind];
    const int added = import(box_, slot.near.id(), served, &slot.hooks[kind]);
    EXPECT_EQ(added, since == 0 ? 1 : 0);
    if (added == 1) since = ++registrations_;
  }
  void stop(Slot& slot, int kind) {
    if (slot.is_connecting) return;
    (kind == kRead    ? zu_box_sock_ExportSocketId_ForRead
     : kind == kWrite ? zu_box_sock_ExportSocketId_ForWrite
                      : zu_box_sock_ExportSocketId_ForExcept)(box_, slot.near.id());
    slot.since(*this)[kind] = 0;
  }

  void add_timer(std::uint32_t interval_ms) {
    const bool repeats = order_.timers.empty() || random_() % 2 == 0;
    const auto add = repeats ? zu_box_timer_AddLoopTimer : zu_box_timer_AddOnceTimer;
    const std::int64_t interval_us = interval_ms * 1000;
    order_.add_timer({add(box_, interval_ms, on_timer, nullptr),
                      kiv::platform::steady_us() + interval_us, repeats ? interval_us : 0});
  }
  void change_timer() {
    const auto chosen = order_.timers.begin() + std::ptrdiff_t(random_() % order_.timers.size());
    if (random_() % 2 == 0) {
      EXPECT_EQ(zu_box_timer_RefreshTimeout(box_, chosen->id, 2), 1);
      order_.put_off(chosen, 2000);
    } else if (chosen->interval_us != kAlwaysMs * 1000) {
      zu_box_timer_Delete(box_, chosen->id);
      order_.timers.erase(chosen);
    }
  }

  void act() {
    Slot& slot = slots_[random_() % slots_.size()];
    const int kind = int(random_() % kKinds);
    const unsigned action = unsigned(random_() % 16);
    if (slot.near.id() < 0 && action < 12) return action < 5 ? open(slot) : void();
    switch (action) {
      default:
        return slot.send(1 + random_() % 8);
      case 4:
      case 5:
        return start(slot, kind);
      case 6:
        return stop(slot, kind);
      case 7:
        close(slot);
        return open(slot);
      case 8:
        return slot.read(3);
      case 9:
      case 10:
        return slot.disturb(unsigned(random_()));
      case 11:
        return close(slot);
      case 12:
        order_.posts.push_back(++posted_);
        EXPECT_EQ(
            zu_box_Post(box_, on_post, reinterpret_cast<void*>(std::intptr_t{posted_}), nullptr),
            1);
        return;
      case 13:
        return add_timer(std::uint32_t(1 + random_() % 6));
      case 14:
        return change_timer();
      case 15:
        return clock_.advance_ms(std::int64_t(random_() % 3));
    }
  }

  // ---- the callbacks

  bool goes_on(const char* what) {
    ++seen[what];
    if (!testing::Test::HasFailure() && ++calls_ <= 300) return true;
    zu_box_BreakLoop(box_);
    return false;
  }
  bool called(const char* what, const Slot& slot, unsigned kinds) {
    order_.socket_called(slot.number, kinds);
    return goes_on(what);
  }
  void end_callback() {
    for (unsigned steps = random_() % 4; steps > 0; --steps) act();
    std::vector<pollfd> all;
    for (const Slot& slot : slots_) all.push_back({slot.near.id(), POLLIN | POLLOUT | POLLPRI, 0});
    poll(all.data(), all.size(), 0);
    for (const Slot& slot : slots_) {
      const short events = all[slot.number].revents;
      const bool broken = (events & (POLLERR | POLLHUP)) != 0;
      const bool excepts = (events & POLLPRI) != 0 || (broken && slot.is_connecting);
      order_.sockets[slot.number].id = slot.near.id();
      order_.sockets[slot.number].ready = (broken || (events & POLLIN) != 0 ? 1U : 0U) |
                                          (broken || (events & POLLOUT) != 0 ? 2U : 0U) |
                                          (excepts ? 4U : 0U);
    }
    order_.callback_ends();
  }

  static Slot& slot_of(void* argument) { return *static_cast<Slot*>(argument); }
  static Script& script_of(void* handle) { return *static_cast<Script*>(handle); }

  static void KIV_CALL served(void* user) {
    static constexpr const char* kNames[] = {"ready to read", "ready to write", "excepted"};
    const auto& [self, at, kind] = *static_cast<const Hook*>(user);
    Slot& slot = *at;
    if (!self->called(kNames[kind], slot, 1U << kind)) return;
    const unsigned choice = unsigned(self->random_() % 3);
    if (kind != kRead || slot.type == Slot::file) {
      if (choice == 0) self->stop(slot, kind);
    } else if (choice == 0) {
      slot.read(3);
    } else if (choice == 1) {
      for (int i = 0; i < 64; ++i) slot.read(64);
    }
    self->end_callback();
  }
  static void KIV_CALL on_read(void* handle, void* at, std::int32_t, char* data,
                               std::int32_t length) {
    if (!script_of(handle).called("data", slot_of(at), 1U << kRead)) return;
    slot_of(at).take(data, length);
    script_of(handle).end_callback();
  }
  static void KIV_CALL on_datagram(void* handle, void* at, std::int32_t, char* data,
                                   std::int32_t length, zu_sock_peer*) {
    if (!script_of(handle).called("datagram", slot_of(at), 1U << kRead)) return;
    slot_of(at).take(data, length);
    script_of(handle).end_callback();
  }
  static void KIV_CALL on_close(void* handle, void* at, std::int32_t) {
    if (!script_of(handle).called("closed", slot_of(at), 1U << kRead)) return;
    slot_of(at).since(script_of(handle))[kRead] = 0;
    script_of(handle).end_callback();
  }
  static void KIV_CALL on_connect(void* handle, void* at, std::int32_t) {
    Script& self = script_of(handle);
    if (!self.called("connected", slot_of(at), 1U << kWrite)) return;
    self.connect_ends(slot_of(at));
    slot_of(at).since(self)[kRead] = ++self.registrations_;
    self.end_callback();
  }
  static void KIV_CALL on_failure(void* handle, void* at, std::int32_t) {
    if (!script_of(handle).called("refused", slot_of(at), 1U << kWrite | 1U << kExcept)) return;
    script_of(handle).connect_ends(slot_of(at));
    script_of(handle).end_callback();
  }
  void connect_ends(Slot& slot) {
    slot.is_connecting = false;
    std::fill_n(slot.since(*this), kKinds, 0);
  }
  static void KIV_CALL on_accept(void* handle, void* at, std::int32_t, std::int32_t accepted,
                                 const char*, std::uint16_t) {
    Script& self = script_of(handle);
    Socket near(accepted);
    if (!self.called("accepted", slot_of(at), 1U << kRead)) return;
    std::vector<Socket>& guests = slot_of(at).guests;
    for (Slot& slot : self.slots_) {
      if (slot.near.id() >= 0) continue;
      slot.begin(Slot::own_stream);
      slot.near = std::move(near);
      slot.far = std::move(guests.back());
      self.adopt(slot);
      break;
    }
    guests.pop_back();
    self.end_callback();
  }
  static void KIV_CALL on_timer(void* handle, void*, std::int32_t timer, std::int32_t) {
    script_of(handle).order_.timer_called(timer);
    if (script_of(handle).goes_on("timer")) script_of(handle).end_callback();
  }
  static void KIV_CALL on_post(void* handle, void* number) {
    script_of(handle).order_.post_called(int(reinterpret_cast<std::intptr_t>(number)));
    if (script_of(handle).goes_on("post")) script_of(handle).end_callback();
  }

  StoppedClock clock_;
  zu_box* box_ = zu_box_malloc();
  std::minstd_rand random_;
  OrderModel order_;
  std::vector<Slot> slots_;
  Socket meeting_ = tcp_listener();
  Socket nobody_{kiv::platform::socket_open(kiv::platform::Transport::tcp)};  // refuses
  int registrations_ = 0;
  int posted_ = 0;
  int calls_ = 0;
};

unsigned from_environment(const char* name, unsigned otherwise) {
  const char* const value = std::getenv(name);
  return value != nullptr ? unsigned(std::atoi(value)) : otherwise;
}

// On one processor a segment is handled to its end before the test sees any of it. On two, poll()
// may tell of it while those who wait for the socket have yet to be told.
void stay_on_this_processor() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
}

TEST(LoopOrder, IsThatOfTheModel) {
  stay_on_this_processor();
  const unsigned scripts = from_environment("KIV_ORDER_SCRIPTS", 200);
  const unsigned first = from_environment("KIV_ORDER_SEED", 1);
  for (unsigned seed = first; seed - first < scripts && !HasFailure(); ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Script script(seed, seed % 2 == 0, seed % 3 == 0 ? 40 : 3 + seed % 30);
    EXPECT_GT(script.run(), 100);
  }
  for (const char* callback : {"ready to read", "ready to write", "excepted", "data", "datagram",
                               "closed", "connected", "refused", "accepted", "timer", "post"}) {
    EXPECT_GT(seen[callback], int(scripts)) << callback;
  }
}

}  // namespace
