// Boxes driven from other threads: wakes, life and death of the handle.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <set>
#include <span>
#include <thread>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/event/box_events.h"

namespace kiv::test {
namespace {

using std::chrono::seconds;

constexpr seconds kDeadline(20);
constexpr seconds kBeforeKeepAlive(8);  // a loop that was not woken notices after ten

// A box that loops on a thread of its own.
class LoopingBox {
 public:
  LoopingBox()
      : thread_([this] {
          kiv_box* made = kiv_box_new();
          made_.set_value(made);
          kiv_box_loop(made);
        }),
        box_(made_.get_future().get()) {}
  ~LoopingBox() {
    kiv_box_free(box_);
    join();
  }
  void join() {
    if (thread_.joinable()) thread_.join();
  }
  operator kiv_box*() const { return box_; }

 private:
  std::promise<kiv_box*> made_;
  std::thread thread_;
  kiv_box* box_;
};

struct OwnSockets {
  std::int32_t wake = -1;
  std::int32_t send = -1;
};

OwnSockets own_sockets(kiv_box* box) {
  OwnSockets own;
  for (std::int32_t socket = 1; socket < 20000; ++socket) {
    if (kiv_box_IsSockExist(box, socket) == 0) continue;
    (port_of(socket) < 31800 ? own.wake : own.send) = socket;
  }
  return own;
}

void KIV_CALL ignore(void*) {}

TEST(KivBox, WakesAreSentFromOtherThreadsWithExactNames) {
  kiv_box* box = kiv_box_new();
  const OwnSockets own = own_sockets(box);
  const std::uint16_t send_port = port_of(own.send);
  ASSERT_EQ(kivx_box_ExportSockId_ForRead(box, own.wake), 1);
  const Socket wakes(own.wake);

  const Socket listener = tcp_listener(), taken = tcp_listener();
  const auto connection = tcp_pair();
  const Socket& adopted = connection.first;
  std::int32_t made[8] = {};
  const std::uint16_t port = listener.local_port();
  const struct {
    const char* payload;  // null: no wake
    std::function<void()> run;
  } steps[] = {
      {"NewTcpClient",
       [&] {
         made[0] = kiv_box_NewTcpClient(box, "127.0.0.1", port, on_connect, nullptr, on_failure,
                                        nullptr, on_read, nullptr, on_close, nullptr);
       }},
      {nullptr,
       [&] {
         EXPECT_EQ(kiv_box_NewTcpClient(box, "127.0.0.1", 2, on_connect, nullptr, on_failure,
                                        nullptr, on_read, nullptr, on_close, nullptr),
                   -1);
       }},
      {"NewUdpClient",
       [&] { made[1] = kiv_box_NewUdpClient(box, "127.0.0.1", 9, on_datagram, nullptr); }},
      {"NewTcpServer",
       [&] { made[2] = kiv_box_NewTcpServer(box, nullptr, 0, on_accept, nullptr); }},
      {nullptr,
       [&] {
         EXPECT_EQ(kiv_box_NewTcpServer(box, nullptr, taken.local_port(), on_accept, nullptr), -1);
       }},
      {"NewUdpServer",
       [&] { made[3] = kiv_box_NewUdpServer(box, "127.0.0.1", 0, on_datagram, nullptr); }},
      {"AcceptTcpClient",
       [&, socket = adopted.id()] {
         made[4] = kiv_box_AcceptTcpClient(box, socket, on_read, nullptr, on_close, nullptr);
       }},
      {nullptr,
       [&] {
         EXPECT_EQ(kiv_box_AcceptTcpClient(box, made[4], on_read, nullptr, on_close, nullptr), -1);
       }},
      {"SetMaxReadLen", [&] { kivx_box_SetMaxReadLen(box, made[4], 10); }},
      {"NewOnceTimer", [&] { made[5] = kiv_box_NewOnceTimer(box, 60000, on_timer, nullptr); }},
      {nullptr, [&] { EXPECT_EQ(kiv_box_NewOnceTimer(box, 0, on_timer, nullptr), -1); }},
      {"NewLoopTimer", [&] { made[6] = kiv_box_NewLoopTimer(box, 60000, on_timer, nullptr); }},
      {"NewLimitTimer", [&] { made[7] = kiv_box_NewLimitTimer(box, 2, 60000, on_timer, nullptr); }},
      {"RefreshTimeout", [&] { EXPECT_EQ(kiv_box_RefreshTimeout(box, made[5], 1), 1); }},
      {"RefreshTimeout", [&] { EXPECT_EQ(kiv_box_RefreshTimeout(box, 1, 1), 0); }},
      {"RefreshCallback",
       [&] { EXPECT_EQ(kiv_box_RefreshCallback(box, 1, on_timer, nullptr), 0); }},
      {"DeleteTimer", [&] { kiv_box_DeleteTimer(box, made[5]); }},
      {"DeleteTimer", [&] { kiv_box_DeleteTimer(box, 1); }},
      {"ImportSockId_ForRead",
       [&] { EXPECT_EQ(kivx_box_ImportSockId_ForRead(box, 99991, ignore, nullptr), 1); }},
      {"ImportSockId_ForWrite",
       [&] { EXPECT_EQ(kivx_box_ImportSockId_ForWrite(box, 0, ignore, nullptr), 0); }},
      {"ImportSockId_ForExcept",
       [&] { EXPECT_EQ(kivx_box_ImportSockId_ForExcept(box, 99991, ignore, nullptr), 1); }},
      {"ExportSockId", [&] { kivx_box_ExportSockId_ForRead(box, 99991); }},
      {"ExportSockId", [&] { kivx_box_ExportSockId_ForWrite(box, 99991); }},
      {"ExportSockId", [&] { kivx_box_ExportSockId_ForExcept(box, 99991); }},
      {"ExportSockId", [&] { kivx_box_ExportSockId(box, made[4]); }},
      {nullptr,
       [&] {
         EXPECT_GT(kiv_box_GetNumSock(box) + kiv_box_GetNumTimer(box), 2);
         EXPECT_EQ(kiv_box_GetThisSockId(box) + kiv_box_GetThisTimerId(box), -2);
         EXPECT_EQ(kiv_box_IsTimerExist(box, made[6]), 1);
         EXPECT_EQ(kiv_box_TcpWrite(box, adopted.id(), "hi", 2), 2);
         EXPECT_EQ(kiv_box_UdpWrite(box, made[3], "hi", 2, "127.0.0.1", 9), 2);
         EXPECT_EQ(kivx_box_IsValid(box), 1);
       }},
      {"DeleteSock", [&] { kiv_box_DeleteSock(box, made[0]); }},
      {"DeleteSock", [&] { kiv_box_DeleteSock(box, -1); }},
      {"BreakLoop", [&] { kiv_box_BreakLoop(box); }},
      {"BreakLoop", [&] { kiv_box_free(box); }},
  };
  for (const auto& step : std::span(steps).first(std::size(steps) - 1)) step.run();
  EXPECT_FALSE(wakes.readable_within(0)) << "the owner's thread needs no wake";
  std::thread([&] {
    for (const auto& step : steps) step.run();
  }).join();
  for (const auto& step : steps) {
    if (step.payload == nullptr) continue;
    std::uint16_t from = 0;
    EXPECT_EQ(wakes.receive_datagram(&from), step.payload);
    EXPECT_EQ(from, send_port);
  }
  EXPECT_FALSE(wakes.readable_within(0));
  EXPECT_EQ(kivx_box_IsValid(box), 1) << "only its own thread frees a box";
  kiv_box_free(box);
  EXPECT_EQ(kivx_box_IsValid(box), 0);
}

TEST(KivBox, EachBoxHasPortsOfItsOwn) {
  kiv_box* boxes[] = {kiv_box_new(), kiv_box_new(), kiv_box_new()};
  std::set<std::uint16_t> ports;
  for (kiv_box* box : boxes) {
    const OwnSockets own = own_sockets(box);
    for (const auto& [socket, first] : {std::pair{own.wake, 21800}, {own.send, 31800}}) {
      EXPECT_GE(port_of(socket), first);
      EXPECT_LT(port_of(socket), first + 10000);
      ports.insert(port_of(socket));
    }
    EXPECT_EQ(kiv_box_GetNumSock(box), 2);
    EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
    EXPECT_EQ(kivx_box_GetThreadId(box), zu_GetPid());
  }
  EXPECT_EQ(ports.size(), 6U);
  for (kiv_box* box : boxes) kiv_box_free(box);
}

// A client driven from this thread, with its callbacks on the box's.
TEST(KivBox, ServesSocketsMadeAndDeletedByOtherThreads) {
  LoopingBox box;
  Recorder echo, client;
  std::promise<std::int32_t> connected;
  std::promise<void> answered;
  echo.then = [&](const Event& event) {
    EXPECT_EQ(event.handle, static_cast<kiv_box*>(box));
    if (event.text == "accept")
      kiv_box_AcceptTcpClient(box, event.accepted, on_read, &echo, on_close, &echo);
    if (event.text == "read ping") kivx_box_TcpWrite(box, event.id, "pong", 4);
  };
  client.then = [&](const Event& event) {
    if (event.text == "connect") connected.set_value(event.id);
    if (event.text == "read pong") answered.set_value();
  };
  const std::int32_t listener = kiv_box_NewTcpServer(box, "127.0.0.1", 0, on_accept, &echo);
  const std::int32_t socket =
      kiv_box_NewTcpClient(box, "localhost", port_of(listener), on_connect, &client, on_failure,
                           &client, on_read, &client, on_close, &client);
  auto connect_seen = connected.get_future();
  ASSERT_EQ(connect_seen.wait_for(kBeforeKeepAlive), std::future_status::ready);
  EXPECT_EQ(connect_seen.get(), socket);
  EXPECT_EQ(kiv_box_TcpWrite(box, socket, "ping", 4), 4);
  EXPECT_EQ(answered.get_future().wait_for(kBeforeKeepAlive), std::future_status::ready);

  const Socket far = tcp_connect(port_of(listener));
  kiv_box_DeleteSock(box, listener);
  kiv_box_DeleteSock(box, socket);
  EXPECT_EQ(kiv_box_IsSockExist(box, socket), 0);
  kiv_box_free(box);
  EXPECT_EQ(far.receive_to_end(), "");
}

struct Countdown {
  std::atomic<int> left;
  std::promise<void> done;
};

void KIV_CALL count_down(void* box, void* countdown, std::int32_t timer, std::int32_t) {
  kiv_box_DeleteTimer(static_cast<kiv_box*>(box), timer);
  auto* self = static_cast<Countdown*>(countdown);
  if (--self->left == 0) self->done.set_value();
}

TEST(KivBox, FourThreadsDriveALoopingBox) {
  constexpr int kThreads = 4, kRounds = 50;
  LoopingBox box;
  Recorder unused;
  Countdown fired{kThreads * kRounds, {}};
  std::vector<std::thread> drivers;
  for (int i = 0; i < kThreads; ++i) {
    drivers.emplace_back([&, i] {
      for (int round = 0; round < kRounds; ++round) {
        EXPECT_GT(kiv_box_NewOnceTimer(box, 1, count_down, &fired), 0);
        const std::int32_t udp = kiv_box_NewUdpServer(box, "127.0.0.1", 0, on_datagram, &unused);
        kiv_box_UdpWrite(box, udp, "x", 1, "127.0.0.1", 9);
        const std::int32_t imported = 100000 + i;
        EXPECT_EQ(kivx_box_ImportSockId_ForExcept(box, udp, ignore, nullptr), 1);
        EXPECT_EQ(kivx_box_ExportSockId(box, imported), 1);
        const std::int32_t loop = kiv_box_NewLoopTimer(box, 60000, on_timer, &unused);
        EXPECT_EQ(kiv_box_RefreshTimeout(box, loop, 5), 1);
        kiv_box_DeleteTimer(box, loop);
        kiv_box_DeleteSock(box, udp);
      }
    });
  }
  for (std::thread& driver : drivers) driver.join();
  EXPECT_EQ(fired.done.get_future().wait_for(kBeforeKeepAlive), std::future_status::ready);
  EXPECT_EQ(kiv_box_GetNumSock(box), 2);
  EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
}

void KIV_CALL free_box(void* box, void* freed, std::int32_t, char*, std::int32_t, zu_sock_peer*) {
  auto* self = static_cast<kiv_box*>(box);
  kiv_box_free(self);
  EXPECT_EQ(kivx_box_IsValid(self), 0) << "dead at once on its own thread";
  EXPECT_EQ(kiv_box_NewOnceTimer(self, 1, on_timer, nullptr), -1);
  static_cast<std::atomic<bool>*>(freed)->store(true);
}

// Both ways, in the middle of calls from other threads.
TEST(KivBox, FreedWhileOtherThreadsCallIt) {
  for (const bool inside_callback : {true, false}) {
    LoopingBox box;
    std::atomic<bool> freed{false};
    std::atomic<int> rounds{0};
    const std::int32_t udp = kiv_box_NewUdpServer(box, "127.0.0.1", 0, free_box, &freed);
    const std::uint16_t port = port_of(udp);
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i) {
      callers.emplace_back([&] {
        for (; kiv_box_GetNumSock(box) >= 0; ++rounds) {
          kiv_box_DeleteTimer(box, kiv_box_NewLoopTimer(box, 60000, on_timer, nullptr));
          kiv_box_DeleteSock(box, kiv_box_NewUdpServer(box, nullptr, 0, on_datagram, nullptr));
        }
      });
    }
    while (rounds < 30) std::this_thread::yield();
    if (inside_callback) {
      EXPECT_TRUE(udp_socket().send_to(port, "x"));
    } else {
      kiv_box_free(box);
    }
    box.join();
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(kivx_box_IsValid(box), 0);
    EXPECT_EQ(freed, inside_callback);
  }
}

// Its loop may run elsewhere than where the box was made; that loop's end frees it too.
TEST(KivBox, LoopedByAnotherThreadThanItsMaker) {
  kiv_box* box = kiv_box_new();
  Countdown started{1, {}}, woken{1, {}};
  kiv_box_NewOnceTimer(box, 1, count_down, &started);
  std::thread looping([&] { kiv_box_loop(box); });
  ASSERT_EQ(started.done.get_future().wait_for(kDeadline), std::future_status::ready);
  kiv_box_loop(box);  // one loop at a time: returns
  kiv_box_NewOnceTimer(box, 1, count_down, &woken);
  EXPECT_EQ(woken.done.get_future().wait_for(kBeforeKeepAlive), std::future_status::ready);
  kiv_box_free(box);
  looping.join();
  EXPECT_EQ(kivx_box_IsValid(box), 0);
}

}  // namespace
}  // namespace kiv::test
