// What a pinging client prints: a line for each answer, on a terminal as a plot with the counts
// below it, and a summary.
#pragma once

#include <string>

#include "tally.h"

namespace uvc_ping {

// The bar of a time on the axis, which is logarithmic and stays as it is: lines that stand on the
// screen keep their meaning.
std::string bar(double ms);

class Report {
 public:
  // To standard output.
  explicit Report(bool is_terminal) : is_terminal_(is_terminal) {}

  void connected(const std::string& text);
  void answer(std::uint32_t number, const Tally::Answer& answer, const Tally& tally);
  // Anything else, a line of its own.
  void remark(const std::string& text);
  // The counts have changed.
  void counts(const Tally& tally);
  void summary(const std::string& name, const Tally& tally, std::uint64_t strange);

 private:
  void line(const std::string& text);

  bool is_terminal_;
  bool has_counts_ = false;
};

}  // namespace uvc_ping
