// Boxes when memory runs out: every step fails cleanly and leaves no block and no socket behind.
#include <gtest/gtest.h>

#include <thread>

#include "kiv_base/base.h"
#include "kiv_base/streams.h"
#include "tests/event/box_events.h"
#include "tests/seams/heap_seam.h"
#include "tests/support/eventually.h"
#include "tests/support/stdout_capture.h"

namespace {

using namespace kiv::test;

void KIV_CALL ignore(void*, void*, std::int32_t, std::int32_t) {}

void make_use_free_raw_box() {
  zu_box* box = zu_box_malloc();
  int opened = 0;
  for (const std::int32_t socket :
       {zu_box_sock_AddLocalTcpClient(box, "127.1", 9, {}, {}, {}, {}, {}, {}, {}, {}),
        zu_box_sock_AddLocalUdpServer(box, nullptr, 0, nullptr, nullptr)}) {
    opened += socket > 0;
  }
  const int timed = zu_box_timer_AddLoopTimer(box, 5, ignore, nullptr) > 0;
  EXPECT_EQ(zu_box_sock_GetNumSock(box), box == nullptr ? -1 : opened);
  EXPECT_EQ(zu_box_timer_GetNumTimer(box), box == nullptr ? -1 : timed);
  zu_box_free(box);
}

TEST(BoxMemory, EveryFailingAllocationIsUndone) {
  kiv_box_free(kiv_box_new());  // records stay, for the next boxes
  const int before = open_sockets();
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(10, make_use_free_raw_box);
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(8, [] { kiv_box_free(kiv_box_new()); });
  EXPECT_EQ(open_sockets(), before);
}

// What failed is undone here and by the threads that ended.
void make_use_free_big_box() {
  const Socket client = udp_socket();
  const int before = open_sockets();
  const std::int64_t blocks_before = live_blocks();
  kiv_bigbox* big = kiv_bigbox_make(2, 9);
  const int opened = kiv_bigbox_attach(big, nullptr, 0, on_accept, nullptr) > 0;
  const int taken = kiv_bigbox_accept(big, client.id(), "1", 1, {}, {}, {}, {});
  EXPECT_EQ(kiv_bigbox_nnodes(big), taken);
  EXPECT_LE(opened + taken, big == nullptr ? 0 : 2);
  kiv_bigbox_free(big);
  EXPECT_TRUE(eventually([=] { return live_blocks() == blocks_before; }));
  EXPECT_TRUE(eventually([=] { return open_sockets() == before; }));
}

TEST(BoxMemory, BigBoxesUndoWhatFails) {
  // Records stay, for the next boxes. Made without threads, whose last blocks go after their
  // sockets.
  kiv_box* boxes[5];
  for (kiv_box*& box : boxes) box = kiv_box_new();
  for (kiv_box* box : boxes) kiv_box_free(box);
  fail_allocation(3);
  EXPECT_EQ(kiv_bigbox_make(4, 9), nullptr);
  fail_allocation(0);
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(40, make_use_free_big_box);
  const std::string printed = printed_by([] {
    for (const int nth : {1, 2}) {
      fail_allocation(nth);
      EXPECT_EQ(kivx_ThreadBox_create(), nullptr);
    }
    fail_allocation(0);
  });
  // An event takes memory on some systems alone.
  const std::string thread = "error: kivx_ThreadBox_create()->CreateThread() error!";
  EXPECT_TRUE(printed == thread ||
              printed == "kivx_ThreadBox_create()->CreateEvent() error!\n" + thread);
}

// All or none, whatever fails: what was taken arrives.
void send_through_a_box() {
  zu_box* box = zu_box_malloc();
  auto [near, far] = tcp_pair();
  const std::int32_t id = near.release();
  if (zu_box_sock_AddRemoteTcpClient(box, id, nullptr, nullptr, nullptr, nullptr) < 0) {
    zu_box_free(box);
    return Socket(id).close();
  }
  constexpr int kBlock = 3000000;
  const std::string block(kBlock, 'x');
  const zu_sock_piece pieces[] = {{block.data(), kBlock}, {block.data(), kBlock}};
  std::size_t taken = 0;
  zu_box_sock_SetSendLimit(box, id, 100000000, nullptr, nullptr);
  for (int i = 0; i < 2; ++i) {
    taken += zu_box_sock_SendPieces(box, id, pieces, 2) == 1 ? 2 * kBlock : 0;
    taken += zu_box_sock_Send(box, id, "y", 1) == 1 ? 1 : 0;
  }
  zu_box_sock_SendFile(box, id, "/dev/null", 0, -1);
  const int paused = zu_box_sock_PauseRead(box, id);
  EXPECT_EQ(zu_box_sock_ResumeRead(box, id), paused);
  const int closes = zu_box_sock_CloseAfterSend(box, id, 60000, nullptr, nullptr);
  std::thread reader([&, &from = far] {
    EXPECT_EQ(closes == 1 ? from.receive_to_end().size() : taken, taken);
    from.close();
  });
  zu_box_StartLoop(box);
  reader.join();
  zu_box_free(box);
}

TEST(BoxMemory, StreamsTakeAllOrNothing) {
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(8, send_through_a_box);
}

}  // namespace
