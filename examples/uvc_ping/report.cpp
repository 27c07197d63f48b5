#include "report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace uvc_ping {
namespace {

constexpr double kAxisStartMs = 0.01;
constexpr int kColumnsOfADecade = 10, kDecades = 5;
constexpr const char* kAxis =
    "number  round trip     0.01      0.1       1         10        100       1000 ms";
constexpr int kScreen = 78;

template <typename... Values>
std::string text_of(const char* format, Values... values) {
  std::array<char, 200> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

unsigned long long number_of(std::uint64_t count) {
  return count;
}

const char* remark_on(Tally::Answer::Kind kind) {
  if (kind == Tally::Answer::out_of_order) return "  out of order";
  return kind == Tally::Answer::again ? "  once more" : "";
}

}  // namespace

std::string bar(double ms) {
  const double columns = std::log10(std::max(ms, kAxisStartMs) / kAxisStartMs) * kColumnsOfADecade;
  const double last = kColumnsOfADecade * kDecades;
  return std::string(static_cast<std::size_t>(std::min(columns, last)), '-') +
         (columns > last ? '>' : '*');
}

// The counts stand in the last line, without an end, and are written over.
void Report::line(const std::string& text) {
  if (has_counts_) std::printf("\r%*s\r", kScreen, "");
  has_counts_ = false;
  std::puts(text.c_str());
  std::fflush(stdout);
}

void Report::connected(const std::string& text) {
  line(text);
  if (is_terminal_) line(kAxis);
}

void Report::answer(std::uint32_t number, const Tally::Answer& answer, const Tally& tally) {
  const double ms = Times::to_ms(answer.time);
  std::string text = text_of("%6lu  %10.3f ms", static_cast<unsigned long>(number), ms);
  if (is_terminal_) text += "  " + bar(ms);
  line(text + remark_on(answer.kind));
  counts(tally);
}

void Report::remark(const std::string& text) {
  line(text);
}

void Report::counts(const Tally& tally) {
  if (!is_terminal_) return;
  const std::string text =
      text_of("%llu sent, %llu received, %llu without an answer", number_of(tally.sent()),
              number_of(tally.received()), number_of(tally.missing()));
  std::printf("\r%-*s", kScreen, text.c_str());
  std::fflush(stdout);
  has_counts_ = true;
}

void Report::summary(const std::string& name, const Tally& tally, std::uint64_t strange) {
  const std::uint64_t percent = tally.sent() == 0 ? 0 : tally.missing() * 100 / tally.sent();
  line("--- " + name);
  line(text_of("%llu sent, %llu received, %llu lost (%llu%%), %llu out of order, %llu twice",
               number_of(tally.sent()), number_of(tally.received()), number_of(tally.missing()),
               number_of(percent), number_of(tally.out_of_order()), number_of(tally.again())));
  if (!tally.times().is_empty()) {
    line(text_of("round trip min/median/max %.3f/%.3f/%.3f ms", tally.times().min_ms(),
                 tally.times().median_ms(), tally.times().max_ms()));
  }
  if (strange > 0) line(text_of("%llu datagrams were no answers", number_of(strange)));
}

}  // namespace uvc_ping
