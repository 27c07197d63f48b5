// What the runtime does when memory runs out, and with the clock at known moments.
#include <gtest/gtest.h>

#include "kiv_base/base.h"
#include "tests/seams/heap_seam.h"

namespace {

TEST(Seam, CountsAndFails) {
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(2, [] {
    void* first = _zu_malloc(8);
    void* second = _zu_realloc(nullptr, 8);
    _zu_free(first);
    _zu_free(second);
  });
}

}  // namespace
