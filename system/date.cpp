// Dates of message headers, and the local time as text.
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/ascii.h"
#include "base/owned.h"
#include "kiv_base/system.h"
#include "platform/clock.h"

using namespace kiv;

namespace {

constexpr std::size_t kGmtStringSize = 100;
constexpr std::size_t kLocalDateSize = 22;

constexpr const char* kDays[] = {"sunday",   "monday", "tuesday", "wednesday",
                                 "thursday", "friday", "saturday"};
constexpr const char* kMonths[] = {"january",   "february", "march",    "april",
                                   "may",       "june",     "july",     "august",
                                   "september", "october",  "november", "december"};

// A lower-case letter is a field: w(eekday), d(ay), m(onth), y(ear), h(our), i (minute), s(econd).
// A space stands for any white space or none. What follows the last field is ignored.
constexpr const char* kFormats[] = {
    "d-m-y h:i:s",    "d m y h:i:s",    "h:i:s GMT d-m-y",   "h:i:s GMT d m y",
    "w, d-m-y h:i:s", "w, d m y h:i:s", "w m d h:i:s GMT y",
};

const char* skip_space(const char* at) {
  while (base::is_space(*at)) ++at;
  return at;
}

// Reads a decimal number after white space, with an optional sign. False when there is none or it
// is not an int32.
bool read_number(const char*& at, int& value) {
  at = skip_space(at);
  const bool negative = *at == '-';
  if (*at == '-' || *at == '+') ++at;
  if (!base::is_digit(*at)) return false;
  std::int64_t number = 0;
  for (; base::is_digit(*at); ++at) {
    number = number * 10 + (*at - '0');
    if (number > INT32_MAX) return false;
  }
  value = static_cast<int>(negative ? -number : number);
  return true;
}

// Reads letters that are one of the names, whole or its first three, in any case.
template <std::size_t N>
bool read_name(const char*& at, const char* const (&names)[N], int& index) {
  std::size_t length = 0;
  while (base::is_alpha(at[length])) ++length;
  const auto* found = std::find_if(names, names + N, [&](const char* name) {
    return (length == 3 || length == std::strlen(name)) &&
           base::equal_ignoring_case(at, name, length);
  });
  index = static_cast<int>(found - names);
  at += length;
  return found != names + N;
}

bool read_field(char field, const char*& at, std::tm& date) {
  switch (field) {
    case 'w':
      return read_name(at, kDays, date.tm_wday);
    case 'm':
      return read_name(at, kMonths, date.tm_mon);
    case 'd':
      return read_number(at, date.tm_mday);
    case 'y':
      return read_number(at, date.tm_year);
    case 'h':
      return read_number(at, date.tm_hour);
    case 'i':
      return read_number(at, date.tm_min);
    default:
      return read_number(at, date.tm_sec);
  }
}

bool read_date(const char* format, const char* at, std::tm& date) {
  for (; *format != '\0'; ++format) {
    if (*format == ' ') {
      at = skip_space(at);
    } else if (base::is_lower(*format)) {
      if (!read_field(*format, at, date)) return false;
    } else if (*at++ != *format) {
      return false;
    }
  }
  return true;
}

int years_since_1900(int year) {
  if (year > 1900) return year - 1900;
  return year < 70 ? year + 100 : year;
}

// Write to `out` and give the place after it.
char* put_name(char* out, const char* lower) {
  *out++ = base::to_upper(lower[0]);
  *out++ = lower[1];
  *out++ = lower[2];
  return out;
}

char* put_two_digits(char* out, int number, char behind) {
  *out++ = static_cast<char>('0' + number / 10);
  *out++ = static_cast<char>('0' + number % 10);
  *out++ = behind;
  return out;
}

// Writes the date, terminated, into kGmtStringSize bytes.
void put_date(char* out, const std::tm& date) {
  char* const end = out + kGmtStringSize;
  out = put_name(out, kDays[date.tm_wday]);
  *out++ = ',';
  *out++ = ' ';
  out = put_two_digits(out, date.tm_mday, ' ');
  out = put_name(out, kMonths[date.tm_mon]);
  *out++ = ' ';
  out = std::to_chars(out, end, date.tm_year + 1900LL).ptr;
  *out++ = ' ';
  out = put_two_digits(out, date.tm_hour, ':');
  out = put_two_digits(out, date.tm_min, ':');
  out = put_two_digits(out, date.tm_sec, ' ');
  std::memcpy(out, "GMT", 4);
}

// Reads a date in any of the forms; -1 when none fits or there is no such time.
zu_time parse_date(const char* text) {
  while (*text == ' ' || *text == '\t') ++text;
  for (const char* format : kFormats) {
    std::tm date{};
    if (!read_date(format, text, date)) continue;
    date.tm_year = years_since_1900(date.tm_year);
    // deliberate: "GMT" is read as local time, and never as summer time; what is stored by the
    // programs that use this was computed so.
    const std::int64_t seconds = platform::seconds_of_local_time(date);
    const auto time = static_cast<zu_time>(seconds);
    return time == seconds ? time : -1;
  }
  return -1;
}

bool local_now(std::tm& now) {
  return platform::local_time(platform::wall_us() / 1000000, &now);
}

}  // namespace

zu_time KIV_CALL zu_DateParse(const char* text) KIV_NOEXCEPT {
  return text == nullptr ? -1 : parse_date(text);
}

char* KIV_CALL zu_GetGMTString(zu_time time) KIV_NOEXCEPT {
  std::tm local{};
  // deliberate: local time under the label "GMT"; zu_DateParse reads it back as it is written.
  if (!platform::local_time(time, &local)) return nullptr;
  auto text = base::RawStorage<char>::allocate(kGmtStringSize);
  if (text) put_date(text.get(), local);
  return text.release();
}

int32_t KIV_CALL zu_GetLocalDate(char* buffer) KIV_NOEXCEPT {
  std::tm now{};
  if (buffer == nullptr || !local_now(now)) return 0;
  const int length = std::snprintf(buffer, kLocalDateSize, "%d.%2.2d.%2.2d - %2.2d:%2.2d:%2.2d",
                                   now.tm_year + 1900, now.tm_mon + 1, now.tm_mday, now.tm_hour,
                                   now.tm_min, now.tm_sec);
  return std::min(length, static_cast<int>(kLocalDateSize) - 1);
}

int32_t KIV_CALL zu_GetCurrentTimeHH(void) KIV_NOEXCEPT {
  std::tm now{};
  return local_now(now) ? now.tm_hour : 0;
}

int32_t KIV_CALL zu_GetCurrentTimeMM(void) KIV_NOEXCEPT {
  std::tm now{};
  return local_now(now) ? now.tm_min : 0;
}
