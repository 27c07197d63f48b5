#include "progress.h"

#include <algorithm>
#include <cstdio>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace http_fetch {
namespace {

constexpr auto kPause = std::chrono::milliseconds(100);
constexpr std::size_t kNameWidth = 24, kBarWidth = 30;

// Consoles of older Windows do not move their cursor for a program's text.
bool stderr_is_terminal() {
#ifdef _WIN32
  return false;
#else
  return isatty(STDERR_FILENO) == 1;
#endif
}

void silence_stdout() {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::perror("http_fetch: /dev/null");
}

std::string bar(const Transfer& transfer) {
  const std::uint64_t received = transfer.received(), expected = transfer.expected();
  std::string cells(kBarWidth, ' ');
  if (transfer.is_done()) {
    cells.assign(kBarWidth, '#');
  } else if (expected > 0) {
    const auto share = static_cast<double>(received) / static_cast<double>(expected);
    std::fill_n(cells.begin(), std::min(kBarWidth, static_cast<std::size_t>(share * kBarWidth)),
                '#');
  } else if (received > 0) {  // its end is not known: something that moves
    cells[static_cast<std::size_t>(received / 65536) % kBarWidth] = '#';
  }
  return cells;
}

std::string line_for(const Transfer& transfer) {
  std::string name = transfer.file_name();
  name.resize(kNameWidth, ' ');
  char size[32];
  std::snprintf(size, sizeof size, "%10.1f kB", static_cast<double>(transfer.received()) / 1000);
  return name + " [" + bar(transfer) + "]" + size + (transfer.why().empty() ? "" : "  failed");
}

}  // namespace

Progress::Progress(const std::vector<std::unique_ptr<Transfer>>& transfers)
    : transfers_(transfers), on_terminal_(stderr_is_terminal()) {
  if (on_terminal_) silence_stdout();
}

void Progress::draw(bool now) {
  const auto time = Clock::now();
  if (!on_terminal_ || (!now && time < next_)) return;
  next_ = time + kPause;
  erase();
  for (const auto& transfer : transfers_) std::fprintf(stderr, "%s\n", line_for(*transfer).c_str());
  lines_ = transfers_.size();
}

void Progress::say(const std::string& line) {
  erase();
  std::fprintf(stderr, "%s\n", line.c_str());
}

void Progress::erase() {
  if (lines_ > 0) std::fprintf(stderr, "\x1b[%zuA\x1b[J", lines_);
  lines_ = 0;
}

}  // namespace http_fetch
