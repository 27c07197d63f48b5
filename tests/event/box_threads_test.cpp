// Boxes driven from other threads: wakes, life and death of the handle.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <semaphore>
#include <thread>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/event/box_events.h"
#include "tests/support/eventually.h"
#include "tests/support/looping_box.h"

namespace kiv::test {
namespace {

// The wake socket and the send socket of a box.
std::pair<std::int32_t, std::int32_t> own_sockets(kiv_box* box) {
  std::pair<std::int32_t, std::int32_t> own;
  for (std::int32_t socket = 1; socket < 20000; ++socket) {
    if (kiv_box_IsSockExist(box, socket) == 0) continue;
    (port_of(socket) < 31800 ? own.first : own.second) = socket;
  }
  return own;
}

void KIV_CALL ignore(void*) {}

// Calls everything that may wake the loop, and what must not.
void call_everything(kiv_box* box, std::int32_t connected, std::uint16_t taken_port) {
  const auto client = [=](std::uint16_t port) {
    return kiv_box_NewTcpClient(box, "127.0.0.1", port, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr);
  };
  const auto adopt = [=] {
    return kiv_box_AcceptTcpClient(box, connected, on_read, nullptr, on_close, nullptr);
  };
  const std::int32_t calling = client(taken_port), refused = client(2);
  EXPECT_GT(kiv_box_NewUdpClient(box, "127.0.0.1", 9, on_datagram, nullptr), 0);
  EXPECT_GT(kiv_box_NewTcpServer(box, nullptr, 0, on_accept, nullptr), 0);
  EXPECT_EQ(kiv_box_NewTcpServer(box, nullptr, taken_port, on_accept, nullptr), refused);
  const std::int32_t udp = kiv_box_NewUdpServer(box, nullptr, 0, on_datagram, nullptr);
  EXPECT_EQ(adopt(), connected);
  EXPECT_EQ(adopt(), refused) << "twice";
  kivx_box_SetMaxReadLen(box, udp, 10);
  const std::int32_t once = kiv_box_NewOnceTimer(box, 60000, on_timer, nullptr);
  EXPECT_EQ(kiv_box_NewOnceTimer(box, 0, on_timer, nullptr), refused);
  EXPECT_GT(kiv_box_NewLoopTimer(box, 60000, on_timer, nullptr), 0);
  EXPECT_GT(kiv_box_NewLimitTimer(box, 2, 60000, on_timer, nullptr), 0);
  EXPECT_EQ(kiv_box_RefreshTimeout(box, once, 1), 1);
  EXPECT_EQ(kiv_box_RefreshTimeout(box, 1, 1), 0);
  EXPECT_EQ(kiv_box_RefreshCallback(box, 1, on_timer, nullptr), 0);
  kiv_box_DeleteTimer(box, 1);
  EXPECT_EQ(kivx_box_ImportSockId_ForRead(box, 99991, ignore, nullptr), 1);
  EXPECT_EQ(kivx_box_ImportSockId_ForWrite(box, 0, ignore, nullptr), 0);
  EXPECT_EQ(kivx_box_ImportSockId_ForExcept(box, 99991, ignore, nullptr), 1);
  kivx_box_ExportSockId_ForRead(box, 99991);
  kivx_box_ExportSockId_ForWrite(box, 99991);
  kivx_box_ExportSockId_ForExcept(box, 99991);
  kivx_box_ExportSockId(box, connected);
  EXPECT_EQ(kiv_box_GetThisSockId(box) + kiv_box_GetThisTimerId(box), -2);
  EXPECT_EQ(kiv_box_IsTimerExist(box, once), 1);
  EXPECT_EQ(kiv_box_TcpWrite(box, connected, "hi", 2), 2);
  EXPECT_EQ(kiv_box_UdpWrite(box, udp, "hi", 2, "127.0.0.1", 9), 2);
  kiv_box_DeleteSock(box, calling);
  kiv_box_DeleteSock(box, -1);
  kiv_box_BreakLoop(box);
}

constexpr char kAllWakes[] =
    "NewTcpClient NewUdpClient NewTcpServer NewUdpServer AcceptTcpClient SetMaxReadLen "
    "NewOnceTimer NewLoopTimer NewLimitTimer RefreshTimeout RefreshTimeout RefreshCallback "
    "DeleteTimer ImportSockId_ForRead ImportSockId_ForWrite ImportSockId_ForExcept ExportSockId "
    "ExportSockId ExportSockId ExportSockId DeleteSock DeleteSock BreakLoop BreakLoop ";

TEST(KivBox, WakesAreSentFromOtherThreadsWithExactNames) {
  kiv_box *box = kiv_box_new(), *other = kiv_box_new();
  EXPECT_EQ(kiv_box_GetNumSock(box), 2);
  EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
  EXPECT_EQ(kivx_box_GetThreadId(box), zu_GetPid());
  const auto [wake, send] = own_sockets(box);
  const std::uint16_t wake_port = port_of(wake), send_port = port_of(send);
  EXPECT_TRUE(wake_port >= 21800 && send_port >= 31800 && send_port < 41800);
  EXPECT_NE(port_of(own_sockets(other).first), wake_port);
  kiv_box_free(other);

  ASSERT_EQ(kivx_box_ExportSockId_ForRead(box, wake), 1);
  const Socket wakes(wake), listener = tcp_listener();
  const auto connection = tcp_pair();
  call_everything(box, connection.first.id(), listener.local_port());
  EXPECT_FALSE(wakes.readable_within(0)) << "the owner's thread needs no wake";
  std::thread([&] {
    call_everything(box, connection.first.id(), listener.local_port());
    kiv_box_free(box);
  }).join();
  std::string received;
  while (wakes.readable_within(0)) {
    std::uint16_t from = 0;
    received += wakes.receive_datagram(&from) + " ";
    EXPECT_EQ(from, send_port);
  }
  EXPECT_EQ(received, kAllWakes);
  EXPECT_EQ(kivx_box_IsValid(box), 1) << "only its own thread frees a box";
  kiv_box_free(box);
  EXPECT_EQ(kivx_box_IsValid(box), 0);
}

TEST(ThreadBox, IsFreedAlsoWhenTheLibraryIsShutDownAtOnce) {
  const int before = open_sockets();
  for (int i = 0; i < 50; ++i) {
    kivx_ThreadBox_destroy(kivx_ThreadBox_create());
    kiv_Shutdown();
  }
  EXPECT_TRUE(eventually([&] { return open_sockets() == before; }));
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
    // In strict order the callers' wakes may starve a socket with a lower number.
    EXPECT_EQ(kivx_box_SetFairRounds(box, 1), 1);
    std::atomic<bool> freed{false};
    std::atomic<int> rounds{0};
    const std::uint16_t port = port_of(kiv_box_NewUdpServer(box, "127.0.0.1", 0, free_box, &freed));
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
      callers.emplace_back([&] {
        for (; kiv_box_GetNumSock(box) >= 0; ++rounds) {
          const std::int32_t timer = kiv_box_NewLoopTimer(box, 60000, on_timer, nullptr);
          const std::int32_t udp = kiv_box_NewUdpServer(box, nullptr, 0, on_datagram, nullptr);
          kiv_box_RefreshTimeout(box, timer, 5);
          kivx_box_ImportSockId_ForExcept(box, udp, ignore, nullptr);
          kiv_box_DeleteTimer(box, timer);
          kiv_box_DeleteSock(box, udp);
        }
      });
    }
    while (rounds < 30) std::this_thread::yield();
    inside_callback ? void(udp_socket().send_to(port, "x")) : kiv_box_free(box);
    box.thread.join();
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(kivx_box_IsValid(box), 0);
    EXPECT_EQ(freed, inside_callback);
  }
}

// While the loop waits for more sockets than a few.
TEST(KivBox, OtherThreadsBringAndTakeSocketsOfAWaitingLoop) {
  struct Import {
    Socket socket = udp_socket();
    std::binary_semaphore served{0};
    kiv_box* box = nullptr;
  } import;
  const auto give_back = [](void* user) {
    auto& served = *static_cast<Import*>(user);
    kivx_box_ExportSockId(served.box, served.socket.id());
    served.served.release();
  };
  LoopingBox box;
  import.box = box;
  const std::uint16_t port = free_tcp_port();
  for (int i = 0; i < 30; ++i) kiv_box_NewUdpServer(box, "127.0.0.1", 0, on_datagram, nullptr);
  for (int round = 0; round < 100; ++round) {
    const std::int32_t server = kiv_box_NewTcpServer(box, "127.0.0.1", port, on_accept, nullptr);
    ASSERT_GT(server, 0) << "the port of the last round was not free at once";
    EXPECT_TRUE(import.socket.send_to(import.socket.local_port(), "data"));
    EXPECT_EQ(kivx_box_ImportSockId_ForRead(box, import.socket.id(), give_back, &import), 1);
    import.served.acquire();
    kiv_box_DeleteSock(box, server);
    EXPECT_EQ(import.socket.receive_datagram(), "data") << "it is the caller's own again";
  }
  EXPECT_EQ(kiv_box_GetNumSock(box), 32);
}

// The loop may run elsewhere than where the box was made; its end frees the box all the same.
TEST(KivBox, LoopedByAnotherThreadThanItsMaker) {
  kiv_box* box = kiv_box_new();
  Recorder seen;
  kiv_box_NewOnceTimer(box, 1, on_timer, &seen);
  std::thread looping([&] { kiv_box_loop(box); });
  seen.await(1);
  kiv_box_loop(box);  // one loop at a time: returns
  const auto start = std::chrono::steady_clock::now();
  kiv_box_NewOnceTimer(box, 1, on_timer, &seen);
  seen.await(2);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8))
      << "woken before the keep-alive";
  kiv_box_free(box);
  looping.join();
  EXPECT_EQ(kivx_box_IsValid(box), 0);
}

}  // namespace
}  // namespace kiv::test
