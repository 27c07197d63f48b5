// Message records when out of memory: nothing leaks, nothing half done is left.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/protocol.h"
#include "protocol/uvc.h"
#include "protocol/uvs.h"
#include "tests/seams/heap_seam.h"
#include "tests/support/sockets.h"

namespace {

TEST(ProtocolFailures, RecordsAreCreatedCompletelyOrNotAtAll) {
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(17, [] {
    kiv_proto* packet = kiv_proto_new();
    const int packed = kiv_proto_PackCmd(packet, "c") + kiv_proto_PackPara(packet, "a", "1");
    EXPECT_EQ(packed, packet ? 2 : 0) << "needs no more memory";
    kiv_proto* clone = kiv_proto_clone(packet);
    EXPECT_EQ(kiv_proto_NumPara(clone), clone ? 1 : 0);
    kiv_proto_free(packet);
    kiv_proto_free(clone);
    kiv_filter* filter = kiv_filter_malloc();
    int inserted = 0;
    for (const char* word : {"k1", "k2", "k3", "k4", "k5", "k6", "k7"}) {
      inserted = kiv_filter_insert(filter, word, "");
    }
    EXPECT_EQ(kiv_filter_IsHit(filter, "k-7"), inserted) << "with an index or without";
    kiv_filter_free(filter);
    kiv_cipher* cipher = kiv_cipher_malloc(KIV_CIPHER_XTEA, "key", 3);
    EXPECT_EQ(kiv_cipher_input(cipher, "12345678", 8), cipher ? 1 : 0);
    kiv_cipher_free(cipher);
  });
}

// The handlers are called here instead of a loop.
TEST(ProtocolFailures, VirtualConnectionsAreMadeOrReportedAsFailed) {
  using namespace kiv::protocol::uv;
  kiv_uvc_free(kiv_uvc_make());  // the registry stays
  kiv_box* const box = kiv_box_new();
  const std::uint16_t port = kiv::test::free_udp_port();
  static int connected, failed;
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(15, [&] {
    connected = failed = 0;
    kiv_uvs* const server = kiv_uvs_make();
    kiv_uvc* const client = kiv_uvc_make();
    const int serving = kiv_uvs_attach(box, server, port, {}, {}, {}, {});
    const int calling = kiv_uvc_attach(
        box, client, "127.0.0.1", port, [](kiv_uvc*, void*) { return ++connected; }, {},
        [](kiv_uvc*, void*) { return ++failed; }, {}, {}, {}, {}, {});
    EXPECT_TRUE(server != nullptr || serving == 0);
    for (int i = 0; i < 5; ++i) serve_peers(server);  // a repeated request makes good for the first
    for (int i = 0; i < 5; ++i) serve_client(client);
    const int all = kiv::test::allocation_failed() ? 0 : 3;
    EXPECT_GE(serving + calling + connected, all);
    EXPECT_LE(connected + failed, serving * calling);
    kiv_uvc_free(client);
    kiv_uvs_free(server);
    EXPECT_EQ(kiv_box_GetNumSock(box), 2);
    EXPECT_EQ(kiv_box_GetNumTimer(box), 1);
  });
  kiv_box_free(box);
}

}  // namespace
