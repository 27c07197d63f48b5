// Every operation on a handle that is no live box gives its failure value and touches nothing.
#include <gtest/gtest.h>

#include "tests/event/box_events.h"

namespace kiv::test {
namespace {

void KIV_CALL ignore(void*) {}
constexpr auto connect = on_connect, fail = on_failure, close = on_close;

void expect_all(std::int32_t failure, const std::vector<std::int32_t>& results) {
  EXPECT_EQ(results, std::vector(results.size(), failure));
}

void expect_refusals(kiv_box* b) {
  expect_all(-1, {kiv_box_NewTcpClient(b, "127.1", 80, connect, b, fail, b, on_read, b, close, b),
                  kiv_box_NewUdpClient(b, "127.1", 80, on_datagram, b),
                  kiv_box_NewTcpServer(b, nullptr, 0, on_accept, b),
                  kiv_box_NewUdpServer(b, nullptr, 0, on_datagram, b),
                  kiv_box_AcceptTcpClient(b, 5, on_read, b, close, b),
                  kiv_box_NewOnceTimer(b, 5, on_timer, b), kiv_box_NewLoopTimer(b, 5, on_timer, b),
                  kiv_box_NewLimitTimer(b, 1, 5, on_timer, b), kiv_box_GetNumSock(b),
                  kiv_box_GetThisSockId(b), kiv_box_GetNumTimer(b), kiv_box_GetThisTimerId(b),
                  kiv_box_TcpWrite(b, 5, "x", 1), kiv_box_UdpWrite(b, 5, "x", 1, "127.1", 9),
                  kivx_box_GetThreadId(b)});
  expect_all(0,
             {kiv_box_IsSockExist(b, 5), kivx_box_SetMaxReadLen(b, 5, 1),
              kiv_box_RefreshTimeout(b, 51200, 5), kiv_box_RefreshCallback(b, 51200, on_timer, b),
              kiv_box_IsTimerExist(b, 51200), kivx_box_ImportSockId_ForRead(b, 5, ignore, b),
              kivx_box_ImportSockId_ForWrite(b, 5, ignore, b),
              kivx_box_ImportSockId_ForExcept(b, 5, ignore, b), kivx_box_ExportSockId(b, 5),
              kivx_box_ExportSockId_ForRead(b, 5), kivx_box_ExportSockId_ForWrite(b, 5),
              kivx_box_ExportSockId_ForExcept(b, 5), kivx_box_IsValid(b)});
  kiv_box_DeleteSock(b, 5);
  kiv_box_DeleteTimer(b, 51200);
  kiv_box_BreakLoop(b);
  kiv_box_loop(b);
  kiv_box_free(b);
}

void expect_refusals(kiv_bigbox* b) {
  char ip[16];
  expect_all(0,
             {kiv_bigbox_accept(b, 5, "1", 1, on_read, b, close, b), kiv_bigbox_write(b, 5, "x", 1),
              kiv_bigbox_nnodes(b), kiv_bigbox_GetSlaveBox(b, 5) != nullptr,
              kiv_bigbox_GetMasterBox(b) != nullptr, kiv_bigbox_GetSockIP(b, 5, ip, 16, nullptr),
              kiv_bigbox_InvokeClientID(b), kiv_bigbox_InvokeSlaveBox(b) != nullptr,
              kivx_bigbox_import_ForRead(b, 5, on_read, b, close, b),
              kivx_bigbox_import_ForWrite(b, 5, close, b),
              kivx_bigbox_import_ForListen(b, 5, on_accept, b), kivx_bigbox_export_ForRead(b, 5),
              kivx_bigbox_export_ForWrite(b, 5), kivx_bigbox_export_ForListen(b, 5)});
  expect_all(-1, {kiv_bigbox_attach(b, nullptr, 0, on_accept, b), kivx_bigbox_write(-1, "x", 1)});
  kiv_bigbox_DeleteSock(b, 5);
  kiv_bigbox_free(b);
}

TEST(StaleHandles, EveryOperationRefuses) {
  kiv_box* freed = kiv_box_new();
  kiv_box_free(freed);
  char never_a_box = 0;
  auto* stranger = reinterpret_cast<kiv_box*>(&never_a_box);
  for (kiv_box* box : {freed, stranger, static_cast<kiv_box*>(nullptr)}) {
    expect_refusals(box);
    expect_refusals(reinterpret_cast<kiv_bigbox*>(box));
    kivx_ThreadBox_destroy(box);
  }
  // The unchecked ones look at their arguments alone.
  expect_all(
      -1,
      {kivx_box_TcpWrite(nullptr, 5, "x", 1), kivx_box_TcpRead(nullptr, 5, &never_a_box, 1),
       kivx_box_UdpWrite(nullptr, 5, "x", 1, "127.1", 9),
       kivx_box_UdpRead(nullptr, 5, &never_a_box, 1, nullptr),
       kivx_box_TcpRead(stranger, 5, nullptr, 1), kivx_box_TcpRead(stranger, 5, &never_a_box, -1),
       kivx_box_TcpWrite(stranger, 5, nullptr, 1), kivx_box_TcpWrite(stranger, 5, "x", -1)});
  zu_box* destroyed = zu_box_malloc();
  zu_box_destroy(destroyed);
  for (zu_box* b : {destroyed, static_cast<zu_box*>(nullptr)}) {
    expect_all(
        -1, {zu_box_sock_AddLocalTcpServer(b, nullptr, 0, on_accept, b), zu_box_sock_GetThisId(b),
             zu_box_timer_GetNumTimer(b), zu_box_timer_AddLoopTimer(b, 5, on_timer, b)});
    expect_all(0, {zu_box_sock_IsExist(b, 5), zu_box_sock_ExportSocketId(b, 5),
                   zu_box_timer_IsExist(b, 51200)});
    zu_box_sock_Delete(b, 5);
    zu_box_StartLoop(b);
  }
  zu_box_free(destroyed);
}

}  // namespace
}  // namespace kiv::test
