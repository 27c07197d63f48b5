// Every operation on a handle that is no live box gives its failure value and touches nothing.
#include <gtest/gtest.h>

#include "tests/event/box_events.h"

namespace kiv::test {
namespace {

void KIV_CALL ignore(void*) {}

template <typename Box>
struct Operation {
  const char* name;
  std::int32_t failure;
  std::int32_t (*run)(Box*);
};

const Operation<kiv_box> kHandleOperations[] = {
    {"NewTcpClient", -1,
     [](kiv_box* b) {
       return kiv_box_NewTcpClient(b, "127.0.0.1", 80, on_connect, nullptr, on_failure, nullptr,
                                   on_read, nullptr, on_close, nullptr);
     }},
    {"NewUdpClient", -1,
     [](kiv_box* b) { return kiv_box_NewUdpClient(b, "127.0.0.1", 80, on_datagram, nullptr); }},
    {"NewTcpServer", -1,
     [](kiv_box* b) { return kiv_box_NewTcpServer(b, nullptr, 0, on_accept, nullptr); }},
    {"NewUdpServer", -1,
     [](kiv_box* b) { return kiv_box_NewUdpServer(b, nullptr, 0, on_datagram, nullptr); }},
    {"AcceptTcpClient", -1,
     [](kiv_box* b) { return kiv_box_AcceptTcpClient(b, 5, on_read, nullptr, on_close, nullptr); }},
    {"GetNumSock", -1, [](kiv_box* b) { return kiv_box_GetNumSock(b); }},
    {"GetThisSockId", -1, [](kiv_box* b) { return kiv_box_GetThisSockId(b); }},
    {"IsSockExist", 0, [](kiv_box* b) { return kiv_box_IsSockExist(b, 5); }},
    {"SetMaxReadLen", 0, [](kiv_box* b) { return kivx_box_SetMaxReadLen(b, 5, 1); }},
    {"NewOnceTimer", -1, [](kiv_box* b) { return kiv_box_NewOnceTimer(b, 5, on_timer, nullptr); }},
    {"NewLoopTimer", -1, [](kiv_box* b) { return kiv_box_NewLoopTimer(b, 5, on_timer, nullptr); }},
    {"NewLimitTimer", -1,
     [](kiv_box* b) { return kiv_box_NewLimitTimer(b, 1, 5, on_timer, nullptr); }},
    {"RefreshTimeout", 0, [](kiv_box* b) { return kiv_box_RefreshTimeout(b, 51200, 5); }},
    {"RefreshCallback", 0,
     [](kiv_box* b) { return kiv_box_RefreshCallback(b, 51200, on_timer, nullptr); }},
    {"GetNumTimer", -1, [](kiv_box* b) { return kiv_box_GetNumTimer(b); }},
    {"GetThisTimerId", -1, [](kiv_box* b) { return kiv_box_GetThisTimerId(b); }},
    {"IsTimerExist", 0, [](kiv_box* b) { return kiv_box_IsTimerExist(b, 51200); }},
    {"TcpWrite", -1, [](kiv_box* b) { return kiv_box_TcpWrite(b, 5, "x", 1); }},
    {"UdpWrite", -1, [](kiv_box* b) { return kiv_box_UdpWrite(b, 5, "x", 1, "127.0.0.1", 9); }},
    {"ImportForRead", 0,
     [](kiv_box* b) { return kivx_box_ImportSockId_ForRead(b, 5, ignore, nullptr); }},
    {"ImportForWrite", 0,
     [](kiv_box* b) { return kivx_box_ImportSockId_ForWrite(b, 5, ignore, nullptr); }},
    {"ImportForExcept", 0,
     [](kiv_box* b) { return kivx_box_ImportSockId_ForExcept(b, 5, ignore, nullptr); }},
    {"Export", 0, [](kiv_box* b) { return kivx_box_ExportSockId(b, 5); }},
    {"ExportForRead", 0, [](kiv_box* b) { return kivx_box_ExportSockId_ForRead(b, 5); }},
    {"ExportForWrite", 0, [](kiv_box* b) { return kivx_box_ExportSockId_ForWrite(b, 5); }},
    {"ExportForExcept", 0, [](kiv_box* b) { return kivx_box_ExportSockId_ForExcept(b, 5); }},
    {"GetThreadId", -1, [](kiv_box* b) { return kivx_box_GetThreadId(b); }},
    {"IsValid", 0, [](kiv_box* b) { return kivx_box_IsValid(b); }},
    {"the void ones", 0,
     [](kiv_box* b) {
       kiv_box_DeleteSock(b, 5);
       kiv_box_DeleteTimer(b, 51200);
       kiv_box_BreakLoop(b);
       kiv_box_loop(b);
       kiv_box_free(b);
       return 0;
     }},
};

// A destroyed raw box and NULL alike.
const Operation<zu_box> kRawOperations[] = {
    {"AddRemoteTcpClient", -1,
     [](zu_box* b) {
       return zu_box_sock_AddRemoteTcpClient(b, 5, on_read, nullptr, on_close, nullptr);
     }},
    {"AddLocalTcpServer", -1,
     [](zu_box* b) { return zu_box_sock_AddLocalTcpServer(b, nullptr, 0, on_accept, nullptr); }},
    {"GetThisId", -1, [](zu_box* b) { return zu_box_sock_GetThisId(b); }},
    {"GetNumSock", -1, [](zu_box* b) { return zu_box_sock_GetNumSock(b); }},
    {"IsExist", 0, [](zu_box* b) { return zu_box_sock_IsExist(b, 5); }},
    {"Export", 0, [](zu_box* b) { return zu_box_sock_ExportSocketId(b, 5); }},
    {"Import", 0,
     [](zu_box* b) { return zu_box_sock_ImportSocketId_ForRead(b, 5, ignore, nullptr); }},
    {"SetMaxReadLen", 0, [](zu_box* b) { return zu_box_sock_SetMaxReadLen(b, 5, 1); }},
    {"AddLoopTimer", -1,
     [](zu_box* b) { return zu_box_timer_AddLoopTimer(b, 5, on_timer, nullptr); }},
    {"Refresh", 0, [](zu_box* b) { return zu_box_timer_Refresh(b, 51200, 5, on_timer, nullptr); }},
    {"GetThisTimer", -1, [](zu_box* b) { return zu_box_timer_GetThisId(b); }},
    {"GetNumTimer", -1, [](zu_box* b) { return zu_box_timer_GetNumTimer(b); }},
    {"the void ones", 0,
     [](zu_box* b) {
       zu_box_sock_Delete(b, 5);
       zu_box_sock_DeleteThis(b);
       zu_box_timer_Delete(b, 51200);
       zu_box_timer_DeleteThis(b);
       zu_box_SetUserCallbackHandle(b, b);
       zu_box_BreakLoop(b);
       zu_box_StartLoop(b);
       zu_box_destroy(b);
       return 0;
     }},
};

TEST(StaleHandles, EveryOperationRefuses) {
  kiv_box* freed = kiv_box_new();
  ASSERT_NE(freed, nullptr);
  kiv_box_free(freed);
  int never_a_box = 0;
  for (kiv_box* box :
       {freed, static_cast<kiv_box*>(nullptr), reinterpret_cast<kiv_box*>(&never_a_box)}) {
    for (const auto& operation : kHandleOperations) {
      EXPECT_EQ(operation.run(box), operation.failure) << operation.name;
    }
  }
  zu_box* destroyed = zu_box_malloc();
  zu_box_destroy(destroyed);
  for (zu_box* box : {destroyed, static_cast<zu_box*>(nullptr)}) {
    for (const auto& operation : kRawOperations) {
      EXPECT_EQ(operation.run(box), operation.failure) << operation.name;
    }
  }
  zu_box_free(destroyed);
  zu_box_free(nullptr);
}

TEST(StaleHandles, UncheckedReadsAndWritesTestTheirArguments) {
  char byte;
  auto* any = reinterpret_cast<kiv_box*>(&byte);
  EXPECT_EQ(kivx_box_TcpWrite(nullptr, 5, "x", 1), -1);
  EXPECT_EQ(kivx_box_UdpWrite(nullptr, 5, "x", 1, "127.0.0.1", 9), -1);
  EXPECT_EQ(kivx_box_TcpRead(nullptr, 5, &byte, 1), -1);
  EXPECT_EQ(kivx_box_UdpRead(nullptr, 5, &byte, 1, nullptr), -1);
  EXPECT_EQ(kivx_box_TcpRead(any, 5, nullptr, 1), -1);
  EXPECT_EQ(kivx_box_TcpRead(any, 5, &byte, -1), -1);
  EXPECT_EQ(kivx_box_TcpWrite(any, 5, nullptr, 1), -1);
}

}  // namespace
}  // namespace kiv::test
