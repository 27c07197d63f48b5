// Configurations and dates when memory runs out, and at a known time.
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/seams/clock_seam.h"
#include "tests/seams/heap_seam.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr char kText[] = "; c\n[g]\nk=1\n[g]\nj=2\n[h]\nk=1\nk=2\n/* open";

std::string text_of(zu_config* config) {
  char* text = zu_config_ToString(config);
  const std::string copy = text;
  _zu_free(text);
  return copy;
}

TEST(SystemFailures, AChangeIsMadeWholeOrNotAtAll) {
  using Change = int (*)(zu_config*);
  const Change changes[] = {[](zu_config* c) { return zu_config_SetKey(c, "new", "k", "v"); },
                            [](zu_config* c) { return zu_config_SetKey(c, "h", "n", "v"); },
                            [](zu_config* c) { return zu_config_SetKey(c, "g", "k", "v"); },
                            [](zu_config* c) { return zu_config_SetGroup(c, "new"); },
                            [](zu_config* c) { return zu_config_RenameGroup(c, "g", "new"); }};
  for (const Change change : changes) {
    const std::string printed = kiv::test::printed_by([&] {
      int done = 0;
      for (int nth = 1; done == 0; ++nth) {
        const auto before = kiv::test::live_blocks();
        zu_config* config = zu_config_make1(kText);
        kiv::test::fail_allocation(nth);
        done = change(config);
        kiv::test::fail_allocation(0);
        EXPECT_EQ(done == 0, text_of(config) == kText);
        EXPECT_EQ(done == 0, !zu_config_IsGroupExist(config, "new") &&
                                 !zu_config_IsKeyExist(config, "h", "n") &&
                                 std::string("1") == zu_config_GetKey(config, "g", "k"));
        zu_config_free(config);
        EXPECT_EQ(before, kiv::test::live_blocks());
      }
    });
    EXPECT_EQ(change == changes[2] ? "error: __config_UpdateKey() error!\n" : "", printed);
  }
}

TEST(SystemFailures, NothingIsMadeByHalves) {
  const kiv::test::TempDir dir;
  const std::string path = dir.file("a"), copy = dir.file("b");
  zu_AppendFile(path.c_str(), std::string(40000, '\n').c_str(), 40000);
  zu_AppendFile(path.c_str(), kText, sizeof kText - 1);
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(30, [&] {
    zu_config* config = zu_config_make(path.c_str());
    EXPECT_TRUE(config != nullptr || kiv::test::allocation_failed());
    const int saved = zu_config_SaveToFile(config, copy.c_str());
    EXPECT_TRUE(saved == 0 || dir.content("a") == dir.content("b"));
    EXPECT_TRUE(config == nullptr || zu_config_UnsetGroup(config, "g"));
    zu_config_free(config);
    zu_pattern_free(zu_pattern_make("a*b"));
    _zu_free(zu_GetGMTString(0));
    _zu_free(__GetProfileString(nullptr));
  });
}

TEST(SystemClock, TellsTheLocalTime) {
  std::tm local{};
  local.tm_year = 109, local.tm_mon = 2, local.tm_mday = 7, local.tm_hour = 9, local.tm_min = 5;
  local.tm_sec = 1, local.tm_isdst = -1;
  const kiv::test::StoppedClock clock(std::int64_t{std::mktime(&local)} * 1000000);
  char text[23] = "######################";
  EXPECT_EQ(21, zu_GetLocalDate(text));
  EXPECT_EQ(std::string("2009.03.07 - 09:05:01\0", 22), std::string(text, 22));
  EXPECT_EQ(0, zu_GetLocalDate(nullptr));
  EXPECT_EQ(905, zu_GetCurrentTimeHH() * 100 + zu_GetCurrentTimeMM());
}

}  // namespace
