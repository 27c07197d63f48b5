// Boxes when memory runs out: every step fails cleanly and leaves no block and no socket behind.
#include <gtest/gtest.h>

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
  kiv_box_free(kiv_box_new());  // the registry stays
  const int before = open_sockets();
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(15, make_use_free_raw_box);
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(8, [] { kiv_box_free(kiv_box_new()); });
  EXPECT_EQ(open_sockets(), before);
}

}  // namespace
