// The rules of the loop, seen through raw boxes and the caller's own sockets.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kiv_base/event.h"
#include "tests/support/sockets.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::Socket;

// A box over UDP sockets that the test owns. Every callback of the loop writes what it served into
// a log, such as "r1 w0 ": kind and number of the socket, the numbers rising with the ids.
struct Engine : testing::Test {
  ~Engine() override { zu_box_free(box_); }

  struct Hook {
    Engine* test;
    char kind;
    std::size_t number;
    void (*then)(Engine& test, std::size_t number);
  };
  using Then = void (*)(Engine&, std::size_t);

  static void KIV_CALL served(void* user) {
    const Hook& hook = *static_cast<Hook*>(user);
    Engine& test = *hook.test;
    test.log_.append(1, hook.kind).append(std::to_string(hook.number)).append(" ");
    EXPECT_EQ(zu_box_sock_GetThisId(test.box_), test.id(hook.number));
    hook.then(test, hook.number);
  }

  // Makes readable sockets; their numbers follow the order of their ids.
  void open(std::size_t count) {
    sockets_.clear();
    for (std::size_t i = 0; i < count; ++i) sockets_.push_back(kiv::test::udp_socket());
    std::sort(sockets_.begin(), sockets_.end(),
              [](const Socket& a, const Socket& b) { return a.id() < b.id(); });
    for (const Socket& socket : sockets_) {
      EXPECT_TRUE(socket.send_to(socket.local_port(), "data"));
      EXPECT_TRUE(socket.readable_within(20000));
    }
  }

  std::int32_t id(std::size_t number) const { return sockets_[number].id(); }

  void on(char kind, std::size_t number, Then then) {
    hooks_.push_back(std::make_unique<Hook>(Hook{this, kind, number, then}));
    const auto import = kind == 'r'   ? zu_box_sock_ImportSocketId_ForRead
                        : kind == 'w' ? zu_box_sock_ImportSocketId_ForWrite
                                      : zu_box_sock_ImportSocketId_ForExcept;
    EXPECT_EQ(import(box_, id(number), served, hooks_.back().get()), 1);
  }

  // Ways to go on after a callback.
  static void done_reading(Engine& test, std::size_t number) {
    zu_box_sock_ExportSocketId_ForRead(test.box_, test.id(number));
  }
  static void done_writing(Engine& test, std::size_t number) {
    zu_box_sock_ExportSocketId_ForWrite(test.box_, test.id(number));
  }
  static void stop(Engine& test, std::size_t) { zu_box_BreakLoop(test.box_); }

  std::string run() {
    log_.clear();
    zu_box_StartLoop(box_);
    EXPECT_EQ(zu_box_sock_GetThisId(box_), -1);
    EXPECT_EQ(zu_box_timer_GetThisId(box_), -1);
    return log_;
  }

  zu_box* box_ = zu_box_malloc();
  std::vector<Socket> sockets_;
  std::vector<std::unique_ptr<Hook>> hooks_;
  std::string log_;
  Socket stranger_;
};

TEST_F(Engine, ServesOneSocketOfEachKindAPassHighestIdFirst) {
  open(3);
  for (const std::size_t i : {1U, 2U, 0U}) {
    on('r', i, done_reading);
    on('w', i, done_writing);
  }
  EXPECT_EQ(run(), "r2 w2 r1 w1 r0 w0 ");
}

TEST_F(Engine, ServesTheHighestOfManyThatIsReadyByThen) {
  open(40);
  const auto read = [](Engine& test, std::size_t number) { test.sockets_[number].receive(4); };
  for (std::size_t i = 0; i < 40; ++i) on('r', i, read);
  hooks_[39]->then = [](Engine& test, std::size_t) {
    for (const std::size_t i : {39U, 38U, 12U}) test.sockets_[i].receive(4);
  };
  hooks_[20]->then = [](Engine& test, std::size_t) {
    test.sockets_[20].receive(4);
    EXPECT_TRUE(test.sockets_[35].send_to(test.sockets_[35].local_port(), "data"));
    EXPECT_TRUE(test.sockets_[35].readable_within(20000));
  };
  hooks_[0]->then = stop;
  std::string expected = "r39 ";
  for (int i = 37; i >= 0; --i) {
    if (i != 12) expected += "r" + std::to_string(i) + " ";
    if (i == 20) expected += "r35 ";
  }
  EXPECT_EQ(run(), expected);
}

TEST_F(Engine, ServesTheNextOfManyWhenACallbackEndsTheHighest) {
  open(20);
  on('r', 19, [](Engine& test, std::size_t number) {
    if (test.log_ == "r19 ") return;
    done_reading(test, number);
    for (const std::size_t i : {18U, 17U, 16U}) done_writing(test, i);
  });
  for (std::size_t i = 0; i < 19; ++i) on('w', i, i == 18 ? [](Engine&, std::size_t) {} : stop);
  EXPECT_EQ(run(), "r19 w18 r19 w15 ");
}

TEST_F(Engine, ServesNothingThatEndedOrBeganSinceTheWait) {
  open(4);
  for (const std::size_t i : {0U, 2U, 3U}) on('w', i, done_writing);
  on('r', 1, [](Engine& test, std::size_t number) {
    done_reading(test, number);
    done_writing(test, 3);
    done_writing(test, 2);
    test.on('w', 2, done_writing);  // the same number, as if it had been closed and taken again
  });
  EXPECT_EQ(run(), "r1 w0 w2 ");
}

TEST_F(Engine, StopsAtOnceAndForGood) {
  open(1);
  on('r', 0, stop);
  on('w', 0, done_writing);
  EXPECT_EQ(run(), "r0 ");
  EXPECT_EQ(run(), "") << "the mark stays";
}

TEST_F(Engine, AReadySocketHoldsUpEveryTimer) {
  open(1);
  static std::chrono::steady_clock::time_point overdue;
  overdue = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
  on('r', 0, [](Engine& test, std::size_t number) {
    test.log_.clear();
    if (std::chrono::steady_clock::now() < overdue) return;
    done_reading(test, number);
  });
  const auto fired = [](void*, void* log, std::int32_t, std::int32_t times) {
    static_cast<std::string*>(log)->append("t").append(std::to_string(times)).append(" ");
  };
  zu_box_timer_AddLimitTimer(box_, 3, 1, fired, &log_);
  EXPECT_EQ(run(), "t1 t2 t3 ");
}

TEST_F(Engine, SweepsSocketsClosedBehindItsBack) {
  open(3);
  for (const std::size_t i : {2U, 1U, 0U}) on('r', i, done_reading);
  on('w', 2, done_writing);
  std::string expected;
  for (const std::size_t i : {2U, 0U, 2U}) {
    expected += "_zu_fd_delete_InvalidFd_foreach()->InvalidFd=" + std::to_string(id(i)) + "\n";
  }
  sockets_[2].close();
  sockets_[0].close();
  EXPECT_EQ(kiv::test::printed_by([&] { run(); }), expected);
  EXPECT_EQ(log_, "r1 ");
}

// Among more sockets than a few, a system's wait may forget a closed one without a word. The next
// owner of its number, with data at once, is not taken for it.
TEST_F(Engine, SweepsOneClosedBehindItsBackAmongMany) {
  open(40);
  for (std::size_t i = 0; i < 40; ++i) on('r', i, done_reading);
  const std::int32_t closed = id(25);
  hooks_[39]->then = [](Engine& test, std::size_t number) {
    test.sockets_[25].close();
    test.stranger_ = kiv::test::udp_socket();
    EXPECT_TRUE(kiv::test::udp_socket().send_to(test.stranger_.local_port(), "x"));
    done_reading(test, number);
  };
  std::string expected;
  for (int i = 39; i >= 0; --i) {
    if (i != 25) expected += "r" + std::to_string(i) + " ";
  }
  const std::string line =
      "_zu_fd_delete_InvalidFd_foreach()->InvalidFd=" + std::to_string(closed) + "\n";
  EXPECT_EQ(kiv::test::printed_by([&] { run(); }), line);
  EXPECT_EQ(log_, expected);
  EXPECT_EQ(stranger_.receive(1), "x");
}

#ifdef __linux__
// Other systems have numbers come back later, or know one socket from the next by nothing else.
TEST_F(Engine, ANumberThatCameBackUnnoticedIsRegisteredAnew) {
  open(40);
  for (std::size_t i = 0; i < 40; ++i) on('r', i, i == 25 ? stop : done_reading);
  const std::int32_t number = id(25);
  hooks_[39]->then = [](Engine& test, std::size_t) {
    test.sockets_[25].close();
    test.sockets_[25] = kiv::test::udp_socket();
    test.sockets_[39].receive_datagram();
    test.on('r', 25, done_reading);
  };
  const std::string line =
      "_zu_fd_delete_InvalidFd_foreach()->InvalidFd=" + std::to_string(number) + "\n";
  hooks_[0]->then = [](Engine& test, std::size_t) {
    test.log_ += "+ ";
    EXPECT_TRUE(test.sockets_[25].send_to(test.sockets_[25].local_port(), "data"));
    done_reading(test, 0);
    done_reading(test, 39);
  };
  EXPECT_EQ(kiv::test::printed_by([&] { run(); }), line);
  EXPECT_EQ(id(25), number);
  EXPECT_EQ(log_.substr(log_.find("r0")), "r0 + r25 ") << "the new one, and only when it is ready";
}
#endif

// Once, it was called for ever and stopped every timer.
TEST_F(Engine, ABrokenConnectionWaitedForExceptAloneIsLeftInPeace) {
  for (const std::size_t others : {0U, 30U}) {
    open(others + 1);
    auto [near, far] = kiv::test::tcp_pair();
    sockets_[others] = std::move(near);
    for (std::size_t i = 0; i <= others; ++i) on('x', i, stop);
    far.close();
    const auto stop_box = [](void* box, void*, std::int32_t, std::int32_t) {
      zu_box_BreakLoop(static_cast<zu_box*>(box));
    };
    zu_box_timer_AddOnceTimer(box_, 20, stop_box, nullptr);
    EXPECT_EQ(run(), "");
    zu_box_free(std::exchange(box_, zu_box_malloc()));
  }
}

// The application may have made a socket block that was ready once: nothing stops the loop.
TEST_F(Engine, NoReadWaitsOnASocketThatBlocks) {
  open(30);
  for (std::size_t i = 0; i < 30; ++i) on('x', i, stop);
  auto [near, far] = kiv::test::tcp_pair();
  const auto read = [](void*, void* log, std::int32_t socket, char* data, std::int32_t) {
    static_cast<std::string*>(log)->append(data);
    zu_sock_set_block(socket);
  };
  const std::int32_t socket = near.release();
  ASSERT_EQ(zu_box_sock_AddRemoteTcpClient(box_, socket, read, &log_, nullptr, nullptr), socket);
  EXPECT_EQ(zu_box_sock_SetMaxReadLen(box_, socket, 4), 1);
  EXPECT_TRUE(far.send("data"));
  const auto stop_box = [](void* box, void*, std::int32_t, std::int32_t) {
    zu_box_BreakLoop(static_cast<zu_box*>(box));
  };
  zu_box_timer_AddOnceTimer(box_, 20, stop_box, nullptr);
  EXPECT_EQ(run(), "data");
}

TEST_F(Engine, DataAndTheEndBehindOneEdgeAreBothServed) {
  open(30);
  for (std::size_t i = 0; i < 30; ++i) on('x', i, stop);
  auto [near, far] = kiv::test::tcp_pair();
  const auto read = [](void*, void* log, std::int32_t, char* data, std::int32_t) {
    static_cast<std::string*>(log)->append(data);
  };
  const auto close = [](void* box, void* log, std::int32_t) {
    static_cast<std::string*>(log)->append(".");
    zu_box_BreakLoop(static_cast<zu_box*>(box));
  };
  const std::int32_t socket = near.release();
  ASSERT_EQ(zu_box_sock_AddRemoteTcpClient(box_, socket, read, &log_, close, &log_), socket);
  EXPECT_TRUE(far.send("data"));
  far.close();
  EXPECT_EQ(run(), "data.");
}

TEST_F(Engine, FairRoundsServeAllSocketsAndTheTimers) {
  open(30);
  EXPECT_EQ(zu_box_SetFairRounds(box_, 1), 1);
  for (std::size_t i = 0; i < 30; ++i) on('r', i, [](Engine&, std::size_t) {});
  const auto fired = [](void* box, void* log, std::int32_t, std::int32_t times) {
    static_cast<std::string*>(log)->append("t");
    if (times == 3) zu_box_BreakLoop(static_cast<zu_box*>(box));
  };
  zu_box_timer_AddLoopTimer(box_, 1, fired, &log_);
  std::string round;
  for (int i = 29; i >= 0; --i) round += "r" + std::to_string(i) + " ";
  std::string log = run();
  EXPECT_EQ(std::count(log.begin(), log.end(), 't'), 3) << "though no socket is ever drained";
  for (std::size_t at = 0; at + round.size() < log.size(); at += round.size()) {
    if (log[at] == 't') log.erase(at, 1);
    ASSERT_EQ(log.compare(at, round.size(), round), 0);
  }
}

TEST_F(Engine, APostFromAnotherThreadWakesTheLoop) {
  zu_box_timer_AddOnceTimer(
      box_, 60000, [](void*, void*, std::int32_t, std::int32_t) {}, nullptr);
  EXPECT_EQ(zu_box_EnablePost(box_), 1);
  EXPECT_EQ(zu_box_Post(box_, nullptr, nullptr, nullptr), 0);
  std::thread other([this] {
    for (const char* text : {"a", "b", "c"}) {
      const auto note = [](void* box, void* argument) {
        auto& log = *static_cast<std::string*>(argument);
        if ((log += "p").size() == 3) zu_box_BreakLoop(static_cast<zu_box*>(box));
      };
      EXPECT_EQ(zu_box_Post(box_, note, &log_, nullptr), 1) << text;
    }
  });
  zu_box_StartLoop(box_);
  other.join();
  EXPECT_EQ(log_, "ppp");
  const auto released = [](void* log) { static_cast<std::string*>(log)->append("r"); };
  EXPECT_EQ(zu_box_Post(
                box_, [](void*, void*) {}, &log_, released),
            1);
  zu_box_free(std::exchange(box_, nullptr));
  EXPECT_EQ(log_, "pppr") << "what is never run is released";
}

// More registrations than many systems give a process descriptors.
TEST_F(Engine, WaitsForHundredsOfSocketsRegisteredForEveryKind) {
  constexpr std::size_t kMany = 400;
  open(kMany);
  for (std::size_t i = 0; i < kMany; ++i) {
    on('r', i, done_reading);
    on('w', i, stop);
    on('x', i, stop);
  }
  EXPECT_EQ(run(), "r399 w399 ");
}

// Once, a listener that could not accept stayed ready, and a ready socket stops every timer.
TEST_F(Engine, AListenerWithoutDescriptorsLetsTheTimersRun) {
  const std::uint16_t port = kiv::test::free_tcp_port();
  ASSERT_GT(zu_box_sock_AddLocalTcpServer(box_, "127.0.0.1", port, nullptr, nullptr), 0);
  const auto stop_box = [](void* box, void*, std::int32_t, std::int32_t) {
    zu_box_BreakLoop(static_cast<zu_box*>(box));
  };
  zu_box_timer_AddOnceTimer(box_, 1, stop_box, nullptr);
  const Socket client = kiv::test::tcp_connect(port);
  {
    const std::vector<Socket> hog = kiv::test::every_descriptor();
    run();
  }
  EXPECT_EQ(client.receive_to_end(), "") << "the connection was closed";
}

}  // namespace
