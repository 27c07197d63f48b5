#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"

namespace {

void set_zone(const std::string& zone) {
#ifdef _WIN32
  _putenv(("TZ=" + zone).c_str());
  _tzset();
#else
  setenv("TZ", zone.c_str(), 1);
  tzset();
#endif
}

// What the standard library makes of a local time in winter.
zu_time winter_time(int year, int month, int day, int hour, int minute, int second) {
  std::tm fields{};
  fields.tm_year = year - 1900, fields.tm_mon = month - 1, fields.tm_mday = day;
  fields.tm_hour = hour, fields.tm_min = minute, fields.tm_sec = second;
  return static_cast<zu_time>(std::mktime(&fields));
}

class Date : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { set_zone(GetParam()); }
  void TearDown() override { set_zone(""); }
};

TEST_P(Date, ReadsEveryForm) {
  for (const char* text :
       {"06-Nov-1994 08:49:37 GMT", " \t06 nov 94 8:49:37", "08:49:37 GMT 06-NOVEMBER-94",
        "8:49:37GMT6 Nov 1994", "Sunday, 06-Nov-94 08:49:37 GMT", "sun,6Nov1994 8:49:37 CET",
        "Sun Nov  6 08:49:37 GMT 1994", "+6 Nov\n1994\r8: 49: 37", "06-Nov-1994 08:48:97"}) {
    EXPECT_EQ(winter_time(1994, 11, 6, 8, 49, 37), zu_DateParse(text)) << text;
  }
  const char* months[] = {"jan",  "FEBRUARY", "Mar",       "April", "may", "JUN",
                          "july", "Aug",      "September", "oct",   "Nov", "december"};
  for (int month = 1; month <= 12; ++month) {
    const std::string text = std::string("1 ") + months[month - 1] + " 2037 23:59:59 GMT";
    EXPECT_EQ(winter_time(2037, month, 1, 23, 59, 59), zu_DateParse(text.c_str())) << text;
  }
  for (const char* year : {"37", "2037", "+137"}) {
    const std::string text = std::string("Fri, 2 Jan ") + year + " 0:0:0";
    EXPECT_EQ(winter_time(2037, 1, 2, 0, 0, 0), zu_DateParse(text.c_str())) << text;
  }
  for (const char* text :
       {"", "6 Nvo 1994 8:49:37", "6 Sept 1994 8:49:37", "Sux, 6 Nov 1994 8:49:37",
        "6 Nov 1994 8:49", "6 -Nov-1994 8:49:37", "8:49:37 6 Nov 1994", "Sun Nov 6 8:49:37 1994",
        "6 N 1994 8:49:37", "6 Nov 99999999999 8:49:37", "- Nov 1994 8:49:37"}) {
    EXPECT_EQ(-1, zu_DateParse(text)) << text;
  }
  EXPECT_EQ(-1, zu_DateParse(("6 " + std::string(1000, 'n') + " 1994 8:49:37").c_str()));
  EXPECT_EQ(-1, zu_DateParse(nullptr));
}

TEST_P(Date, WritesTheLocalTimeLabelledGmt) {
  for (const auto& [time, expected] :
       {std::pair{winter_time(1994, 11, 6, 8, 49, 37), "Sun, 06 Nov 1994 08:49:37 GMT"},
        std::pair{winter_time(2004, 2, 29, 23, 59, 59), "Sun, 29 Feb 2004 23:59:59 GMT"}}) {
    char* text = zu_GetGMTString(time);
    EXPECT_STREQ(expected, text);
    EXPECT_EQ(time, zu_DateParse(text));
    _zu_free(text);
  }
  if (sizeof(zu_time) == 8) {
    EXPECT_EQ(nullptr, zu_GetGMTString(INTPTR_MAX));
  }
}

TEST(DateZone, IsTheLastThatWasSet) {
  for (const char* zone : {"AAA-5", "BBB-10"}) {
    EXPECT_EQ(1, zu_SetEnv("TZ", zone));
    char* text = zu_GetGMTString(86400);
    EXPECT_STREQ(*zone == 'A' ? "Fri, 02 Jan 1970 05:00:00 GMT" : "Fri, 02 Jan 1970 10:00:00 GMT",
                 text);
    _zu_free(text);
  }
  EXPECT_EQ(1, zu_UnsetEnv("TZ"));
}

TEST_P(Date, PrintsTheLocalTime) {
  char text[23] = "......................", expected[22];
  std::time_t now;
  bool same;
  do {
    now = std::time(nullptr);
    ASSERT_EQ(21, zu_GetLocalDate(text));
    std::tm local = *std::localtime(&now);
    std::strftime(expected, sizeof expected, "%Y.%m.%d - %H:%M:%S", &local);
    same = zu_GetCurrentTimeHH() == local.tm_hour && zu_GetCurrentTimeMM() == local.tm_min;
  } while (now != std::time(nullptr));
  EXPECT_TRUE(same);
  EXPECT_STREQ(expected, text);
}

INSTANTIATE_TEST_SUITE_P(Zones, Date,
                         testing::Values("UTC0", "EST5EDT", "IST-5:30", "NST3:30NDT", "WST-13"));

}  // namespace
