// Signals while a terminal is asked, so that it never stays without echo.
#pragma once

namespace kiv::platform {

// While one lives, signals whose default ends or stops the process are caught, but for ignored
// ones: the terminal gets its echo back and the signal takes the effect that it would have had. One
// at a time.
class SignalWatch {
 public:
  SignalWatch();
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  bool works() const { return ends_[0] >= 0; }
  int fd() const { return ends_[0]; }  // readable once a signal was caught
  static bool has_caught();
  static bool has_outlived();  // one that the program handles

 private:
  int ends_[2] = {-1, -1};
};

// The terminal without echo while this lives, within a watch. What was typed before it goes, as it
// has been seen.
class Hidden {
 public:
  Hidden(int terminal, bool wanted);
  ~Hidden();
  Hidden(const Hidden&) = delete;
  Hidden& operator=(const Hidden&) = delete;

  bool works() const { return works_; }

 private:
  bool works_;
};

}  // namespace kiv::platform
