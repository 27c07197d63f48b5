// What the library prints while this object lives, with Windows line ends folded.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace kiv::test {

class StdoutCapture {
 public:
  StdoutCapture() {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
  }
  ~StdoutCapture() {
    if (!taken_) take();
  }
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  // Ends the capture and returns its text.
  std::string take() {
    taken_ = true;
    std::fflush(stdout);
    std::string text = testing::internal::GetCapturedStdout();
    std::string folded;
    for (char c : text) {
      if (c != '\r') folded += c;
    }
    return folded;
  }

 private:
  bool taken_ = false;
};

// What `call` prints.
template <typename Call>
std::string printed_by(Call&& call) {
  StdoutCapture capture;
  call();
  return capture.take();
}

}  // namespace kiv::test
