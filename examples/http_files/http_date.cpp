#include "http_date.h"

#include "text.h"

namespace http_files {
namespace {

constexpr std::string_view kDays = "SunMonTueWedThuFriSat";
constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
constexpr std::string_view kShape = "ddd, 00 mmm 0000 00:00:00 GMT";

void append_digits(std::string& out, unsigned value, int width) {
  for (unsigned place = width == 4 ? 1000 : 10; place > 0; place /= 10) {
    out += static_cast<char>('0' + value / place % 10);
  }
}

bool has_shape(std::string_view text) {
  if (text.size() != kShape.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char shape = kShape[i];
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (shape == '0' ? !digit : shape != 'd' && shape != 'm' && text[i] != shape) return false;
  }
  return true;
}

}  // namespace

void append_http_date(std::string& out, std::chrono::sys_seconds time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss clock{time - day};
  out += kDays.substr(std::chrono::weekday{day}.c_encoding() * 3, 3);
  out += ", ";
  append_digits(out, unsigned{date.day()}, 2);
  out += ' ';
  out += kMonths.substr((unsigned{date.month()} - 1) * 3, 3);
  out += ' ';
  append_digits(out, static_cast<unsigned>(int{date.year()}), 4);
  out += ' ';
  append_digits(out, static_cast<unsigned>(clock.hours().count()), 2);
  out += ':';
  append_digits(out, static_cast<unsigned>(clock.minutes().count()), 2);
  out += ':';
  append_digits(out, static_cast<unsigned>(clock.seconds().count()), 2);
  out += " GMT";
}

std::optional<std::chrono::sys_seconds> parse_http_date(std::string_view text) {
  using namespace std::chrono;
  if (!has_shape(text)) return std::nullopt;
  const auto number = [&](std::size_t at, std::size_t count) {
    return static_cast<int>(*parse_number(text.substr(at, count)));
  };
  const auto month_at = kMonths.find(text.substr(8, 3));
  const auto day_at = kDays.find(text.substr(0, 3));
  if (month_at == kMonths.npos || month_at % 3 != 0) return std::nullopt;
  if (day_at == kDays.npos || day_at % 3 != 0) return std::nullopt;

  const year_month_day date{year{number(12, 4)}, month{static_cast<unsigned>(month_at / 3 + 1)},
                            day{static_cast<unsigned>(number(5, 2))}};
  const int hour = number(17, 2);
  const int minute = number(20, 2);
  const int second = number(23, 2);  // 60 in a leap second
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  if (weekday{sys_days{date}}.c_encoding() != day_at / 3) return std::nullopt;
  return sys_days{date} + hours{hour} + minutes{minute} + seconds{second};
}

}  // namespace http_files
