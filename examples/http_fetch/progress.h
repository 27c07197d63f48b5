// Bars on a terminal, a line for each transfer, and lines above them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "transfer.h"

namespace http_fetch {

class Progress {
 public:
  // Draws only when standard error is a terminal; the library's own lines are silenced then.
  explicit Progress(const std::vector<std::unique_ptr<Transfer>>& transfers);

  // A few times a second at most; `now` is given by those who draw at the end.
  void draw(bool now = false);
  void say(const std::string& line);

 private:
  void erase();

  const std::vector<std::unique_ptr<Transfer>>& transfers_;
  const bool on_terminal_;
  std::size_t lines_ = 0;
  Clock::time_point next_;
};

}  // namespace http_fetch
