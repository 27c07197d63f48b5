// The heap of the seam tests: it counts, and fails on demand.
#pragma once

#include <cstdint>

namespace kiv::test {

// From now on, the nth allocation (1 is the next one) of any thread fails; with
// `all_after`, so does every later one. 0 ends it.
void fail_allocation(std::int64_t nth, bool all_after = false);

// Did an allocation fail since the last fail_allocation?
bool allocation_failed();

// Blocks allocated and not freed yet; allocations made so far.
std::int64_t live_blocks();
std::int64_t allocations();

// Runs `call` with its first allocation failing, then its second, and so on until it runs through;
// returns the number of runs that saw a failure. With `all_after` every later allocation of a run
// fails as well. After each run exactly as many blocks live as before: warm up what stays.
template <typename Call, typename Leaked>
int each_allocation_fails(Call&& call, Leaked&& leaked, bool all_after = false) {
  for (int nth = 1;; ++nth) {
    const std::int64_t before = live_blocks();
    fail_allocation(nth, all_after);
    call();
    const bool failed = allocation_failed();
    fail_allocation(0);
    if (live_blocks() != before) leaked(nth, live_blocks() - before);
    if (!failed) return nth - 1;
  }
}

}  // namespace kiv::test

// The usual form: both ways of failing, a leak fails the test.
#define EXPECT_SURVIVES_FAILING_ALLOCATIONS(at_least, ...)                                    \
  for (const bool all_after : {false, true}) {                                                \
    const int runs = ::kiv::test::each_allocation_fails(                                      \
        __VA_ARGS__,                                                                          \
        [&](int nth, std::int64_t blocks) {                                                   \
          ADD_FAILURE() << "allocation " << nth << " failing leaves " << blocks << " blocks"; \
        },                                                                                    \
        all_after);                                                                           \
    EXPECT_GE(runs, at_least);                                                                \
  }
