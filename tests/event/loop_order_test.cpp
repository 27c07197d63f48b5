// Random scripts against a plain model of the stated order: what is registered, drained, closed and
// made ready within callbacks, with few sockets and with many.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kiv_base/event.h"
#include "tests/support/sockets.h"

namespace {

using kiv::test::Socket;

constexpr int kRead = 0, kWrite = 1;

// Sockets in the order of their ids. Datagrams of this machine arrive before the send returns, and
// a datagram socket is always writable, so that all readiness is known.
struct Script {
  struct Known {
    int waiting = 0;        // datagrams
    int since[2] = {0, 0};  // the registration, by kind; 0: none
  };
  struct Hook {
    Script* script;
    int kind;
    int socket;
  };

  Script(unsigned seed, int count) : random(seed), known(std::size_t(count)) {
    for (int i = 0; i < count; ++i) sockets.push_back(kiv::test::udp_socket());
    std::sort(sockets.begin(), sockets.end(),
              [](const Socket& a, const Socket& b) { return a.id() < b.id(); });
    for (int kind : {kRead, kWrite}) {
      for (int i = 0; i < count; ++i) hooks[kind].push_back({this, kind, i});
    }
    for (int i = 0; i < count; ++i) start(kRead, i);
    for (int i = 0; i < count / 2; ++i) act();
  }
  ~Script() { zu_box_free(box); }

  // ---- the model: a pass serves the highest socket of each kind that was ready at its start

  std::pair<int, int> expected() {
    for (;;) {
      for (; kind_of_pass <= kWrite; ++kind_of_pass) {
        for (int i = int(known.size()) - 1; i >= 0; --i) {
          const Known& before = at_start[std::size_t(i)];
          const Known& now = known[std::size_t(i)];
          const bool was_ready = kind_of_pass == kWrite || before.waiting > 0;
          if (was_ready && before.since[kind_of_pass] != 0 &&
              before.since[kind_of_pass] == now.since[kind_of_pass]) {
            return {kind_of_pass++, i};
          }
        }
      }
      kind_of_pass = kRead;
      at_start = known;
    }
  }

  // ---- what a script does

  void start(int kind, int i) {
    const auto import =
        kind == kRead ? zu_box_sock_ImportSocketId_ForRead : zu_box_sock_ImportSocketId_ForWrite;
    Known& socket = known[std::size_t(i)];
    const int added =
        import(box, sockets[std::size_t(i)].id(), served, &hooks[kind][std::size_t(i)]);
    EXPECT_EQ(added, socket.since[kind] == 0 ? 1 : 0);
    if (added == 1) socket.since[kind] = ++registrations;
  }
  void stop(int kind, int i) {
    (kind == kRead ? zu_box_sock_ExportSocketId_ForRead : zu_box_sock_ExportSocketId_ForWrite)(
        box, sockets[std::size_t(i)].id());
    known[std::size_t(i)].since[kind] = 0;
  }
  void send(int i) {
    const Socket& to = sockets[std::size_t(i)];
    EXPECT_TRUE(to.send_to(to.local_port(), "x"));
    EXPECT_TRUE(to.readable_within(10000));
    ++known[std::size_t(i)].waiting;
  }
  void drain(int i, int count) {
    for (Known& socket = known[std::size_t(i)]; socket.waiting > 0 && count > 0; --count) {
      sockets[std::size_t(i)].receive_datagram();
      --socket.waiting;
    }
  }
  // A number that is closed and opened again, as the box is told.
  void reopen(int i) {
    for (const int kind : {kRead, kWrite}) stop(kind, i);
    known[std::size_t(i)].waiting = 0;
    const std::int32_t id = sockets[std::size_t(i)].id();
    sockets[std::size_t(i)].close();
    std::vector<Socket> lower;
    Socket fresh = kiv::test::udp_socket();
    for (; fresh.id() < id; fresh = kiv::test::udp_socket()) lower.push_back(std::move(fresh));
    if (fresh.id() == id) sockets[std::size_t(i)] = std::move(fresh);
  }

  void act() {
    const int i = int(random() % known.size());
    if (sockets[std::size_t(i)].id() < 0) return;
    switch (random() % 8) {
      case 0:
        return start(kRead, i);
      case 1:
        return start(kWrite, i);
      case 2:
        return stop(kRead, i);
      case 3:
        return stop(kWrite, i);
      case 4:
        return drain(i, 1);
      case 5:
        return reopen(i);
      default:
        return send(i);
    }
  }

  static void KIV_CALL served(void* user) {
    const Hook& hook = *static_cast<Hook*>(user);
    Script& self = *hook.script;
    EXPECT_EQ(self.expected(), std::make_pair(hook.kind, hook.socket)) << "call " << self.calls;
    if (testing::Test::HasFailure() || ++self.calls > 300) return zu_box_BreakLoop(self.box);
    if (hook.kind == kRead) self.drain(hook.socket, int(self.random() % 3));
    if (hook.kind == kWrite && self.random() % 2 == 0) self.stop(kWrite, hook.socket);
    for (unsigned steps = self.random() % 4; steps > 0; --steps) self.act();
    // Something always stays ready, or the loop would wait for ever.
    const int again = int(self.random() % self.known.size());
    if (self.sockets[std::size_t(again)].id() < 0) return zu_box_BreakLoop(self.box);
    if (self.known[std::size_t(again)].since[kWrite] == 0) self.start(kWrite, again);
  }

  zu_box* box = zu_box_malloc();
  std::minstd_rand random;
  std::vector<Socket> sockets;
  std::vector<Hook> hooks[2];
  std::vector<Known> known;     // now
  std::vector<Known> at_start;  // of the pass
  int kind_of_pass = kWrite + 1;
  int registrations = 0;
  int calls = 0;
};

TEST(LoopOrder, IsThatOfTheModel) {
  for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
    Script script(seed, seed % 3 == 0 ? 40 : 3 + int(seed % 30));
    if (script.known[0].since[kWrite] == 0) script.start(kWrite, 0);
    zu_box_StartLoop(script.box);
    EXPECT_GT(script.calls, 0) << "seed " << seed;
  }
}

}  // namespace
