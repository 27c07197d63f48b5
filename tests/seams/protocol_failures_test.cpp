// Message records when memory runs out: nothing leaks, nothing half done is left.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/protocol.h"
#include "tests/seams/heap_seam.h"

namespace {

TEST(ProtocolFailures, RecordsAreMadeWholeOrNotAtAll) {
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(15, [] {
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
  });
}

TEST(ProtocolFailures, AParsePoolTakesAllOrNothing) {
  const std::string first(20000, 'x'), long_one(30000, 'y');
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(8, [&] {
    kiv_parse_pool* pool = kiv_parse_pool_malloc();
    kiv_parse_pool_input(pool, first.data(), 20000);
    const int taken = kiv_parse_pool_input(pool, long_one.data(), 30000);
    EXPECT_EQ(kiv_parse_pool_GetLen(pool), pool ? 20000 + 30000 * taken : 0);
    kiv_parse_pool_free(pool);
  });
}

}  // namespace
