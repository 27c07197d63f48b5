// The host itself, from its start to its end.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "kiv_base/cpp/box.hpp"
#include "options.h"

namespace chat {

// Why a host cannot start. Empty: nothing is wrong.
struct Trouble {
  std::string why;
  bool is_in_file = false;  // in the configuration file
};

// One thread makes it, starts it and runs it.
class Host {
 public:
  explicit Host(const Options& options);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  Trouble start();
  // Runs until stop(), and takes everything down.
  void run();
  // From any thread.
  void stop();

 private:
  struct Parts;

  Trouble set_up();
  bool open_log();

  Options options_;
  std::unique_ptr<Parts> parts_;
  std::atomic<kiv_box*> box_ = nullptr;
};

}  // namespace chat
