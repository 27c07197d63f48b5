// The runtime when out of memory, and its use of the clock.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "kiv_base/base.h"
#include "tests/seams/clock_seam.h"
#include "tests/seams/heap_seam.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(BaseFailures, LocksAndRegistryReportIt) {
  char object;
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(2, [&] {
    zu_sem_free(zu_sem_malloc());
    const bool inserted = __kiv_sem_insert(&object) == 1;
    EXPECT_EQ(inserted, __kiv_sem_check(&object) == 1);
    EXPECT_EQ(inserted, __kiv_sem_lock(&object) == 1);
    EXPECT_EQ(inserted, __kiv_sem_unlock() == 1);
    __kiv_sem_remove(&object);
    kiv_sem_Shutdown();
  });
  kiv::test::fail_allocation(1, true);
  EXPECT_EQ(0, kiv_sem_Setup());
  EXPECT_EQ(1, kiv_Setup()) << "its steps can be repeated";
  kiv::test::fail_allocation(0);
  EXPECT_EQ(1, kiv_sem_Setup());
  EXPECT_EQ(0, kiv_Shutdown());
}

TEST(Clock, StampsLinesAndCountsMicroseconds) {
  const kiv::test::TempDir dir;
  std::tm local{};
  std::istringstream("2009 06 07 09 05 01") >> std::get_time(&local, "%Y %m %d %H %M %S");
  local.tm_isdst = -1;
  const std::int64_t moment = std::int64_t{std::mktime(&local)} * 1000000 + 999999;
  kiv::test::StoppedClock clock(moment);
  zu_log* log = zu_log_malloc(dir.file("a.log").c_str());
  zu_log_notice(log, "%d\n", 1);
  zu_log_warn(log, "%s\n", "two");
  zu_sleep(86400000u * 40);
  zu_log_error(log, "%c\n", '3');
  zu_log_free(log);
  EXPECT_EQ(dir.content("a.log"),
            "2009-06-07 09:05:01 notice: 1\n"
            "2009-06-07 09:05:01 warn: two\n"
            "2009-07-17 09:05:01 error: 3\n");
}

}  // namespace
