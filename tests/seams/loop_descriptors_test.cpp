// What descriptors can do that sockets elsewhere cannot: live on behind a copy, and in a child.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kiv_base/event.h"
#include "tests/seams/clock_seam.h"
#include "tests/support/sockets.h"
#include "tests/support/stdout_capture.h"

namespace {

using kiv::test::Socket;

// A box that waits for datagrams on more sockets than a few. Each callback reads what has come,
// logs it and runs `then`.
struct LoopDescriptors : testing::Test {
  struct Hook {
    LoopDescriptors* test;
    Socket socket;
  };

  LoopDescriptors() {
    hooks_.reserve(50);
    for (int i = 0; i < 30; ++i) add(kiv::test::udp_socket());
  }
  ~LoopDescriptors() override { zu_box_free(box_); }

  Hook& add(Socket socket) {
    hooks_.push_back({this, std::move(socket)});
    const std::int32_t id = hooks_.back().socket.id();
    EXPECT_EQ(zu_box_sock_ImportSocketId_ForRead(box_, id, served, &hooks_.back()), 1);
    return hooks_.back();
  }
  static void KIV_CALL served(void* user) {
    const Hook& hook = *static_cast<Hook*>(user);
    hook.test->log_ += hook.socket.receive_datagram();
    hook.test->then_();
  }

  // Until nothing is ready.
  std::string run() {
    const auto stop = [](void* box, void*, std::int32_t, std::int32_t) {
      zu_box_BreakLoop(static_cast<zu_box*>(box));
    };
    zu_box_timer_AddOnceTimer(box_, 30, stop, nullptr);
    zu_box_StartLoop(box_);
    return log_;
  }

  kiv::test::StoppedClock clock_;
  zu_box* box_ = zu_box_malloc();
  std::vector<Hook> hooks_;
  std::string log_;
  std::function<void()> then_ = [] {};
};

void send(const Socket& to, const std::string& text) {
  EXPECT_TRUE(to.send_to(to.local_port(), text));
  EXPECT_TRUE(to.readable_within(20000));
}

TEST_F(LoopDescriptors, TheNextOwnerOfANumberHearsNothingOfACopy) {
  Socket& old = hooks_[20].socket;
  const std::int32_t number = old.id();
  const Socket copy(dup(number));
  zu_box_sock_Delete(box_, number);
  old.close();
  Socket fresh = kiv::test::udp_socket();
  ASSERT_EQ(fresh.id(), number);
  const Socket& heard = add(std::move(fresh)).socket;
  send(copy, "old ");
  send(heard, "new ");
  EXPECT_EQ(run(), "new ");
}

TEST_F(LoopDescriptors, OneClosedBehindTheLoopsBackIsSweptThoughACopyReportsOn) {
  Socket& closed = hooks_[20].socket;
  const Socket copy(dup(closed.id()));
  const std::string line =
      "_zu_fd_delete_InvalidFd_foreach()->InvalidFd=" + std::to_string(closed.id()) + "\n";
  send(hooks_[29].socket, "first ");
  send(hooks_[5].socket, "second ");
  then_ = [&] {
    if (closed.id() < 0) return;
    closed.close();
    send(copy, "old ");
  };
  EXPECT_EQ(kiv::test::printed_by([&] { run(); }), line);
  EXPECT_EQ(log_, "first second ");
}

// A child has the descriptors of its parent, and what it does to them the parent must not notice.
TEST_F(LoopDescriptors, AChildLoopsOnWithoutItsParentNoticing) {
  constexpr int kServed = 42;
  pid_t child = -1;
  then_ = [&] {
    if (child == 0) _exit(kServed);
    if (child > 0) return;
    child = fork();
    if (child == 0) {
      alarm(60);
      for (const Hook& hook : hooks_) zu_box_sock_Delete(box_, hook.socket.id());
      for (int i = 0; i < 20; ++i) add(kiv::test::udp_socket());
      return send(hooks_[30].socket, "own ");
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kServed) << status;
    for (const std::size_t i : {0U, 15U, 28U}) send(hooks_[i].socket, std::to_string(i) + " ");
  };
  send(hooks_[29].socket, "first ");
  EXPECT_EQ(run(), "first 28 15 0 ");
}

}  // namespace
