// Boxes when memory runs out: every step fails cleanly and leaves no block and no socket behind.
#include <gtest/gtest.h>

#include "kiv_base/base.h"
#include "kiv_base/event.h"
#include "tests/seams/heap_seam.h"

namespace {

int open_sockets() {
  int count = 0;
  for (std::int32_t socket = 1; socket < 4096; ++socket) {
    count += zu_sock_is_fd_valid(socket, nullptr);
  }
  return count;
}

void KIV_CALL ignore_timer(void*, void*, std::int32_t, std::int32_t) {}

void make_use_free_raw_box() {
  zu_box* box = zu_box_malloc();
  const std::int32_t sockets[] = {
      zu_box_sock_AddLocalTcpClient(box, "127.0.0.1", 9, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr, nullptr),
      zu_box_sock_AddLocalUdpClient(box, "127.0.0.1", 9, nullptr, nullptr),
      zu_box_sock_AddLocalTcpServer(box, nullptr, 0, nullptr, nullptr),
      zu_box_sock_AddLocalUdpServer(box, nullptr, 0, nullptr, nullptr),
  };
  std::int32_t opened = 0;
  for (const std::int32_t socket : sockets) opened += socket > 0;
  const bool timed = zu_box_timer_AddLoopTimer(box, 5, ignore_timer, nullptr) > 0;
  EXPECT_EQ(zu_box_sock_GetNumSock(box), box == nullptr ? -1 : opened);
  EXPECT_EQ(zu_box_timer_GetNumTimer(box), box == nullptr ? -1 : timed);
  zu_box_free(box);
}

void make_and_free_box() {
  kiv_box_free(kiv_box_new());
}

TEST(BoxMemory, EveryFailingAllocationIsUndone) {
  make_and_free_box();  // the registry stays
  const int before = open_sockets();
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(15, make_use_free_raw_box);
  EXPECT_EQ(open_sockets(), before);
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(8, make_and_free_box);
  EXPECT_EQ(open_sockets(), before);
}

}  // namespace
