// One URL on its way to one file, through any redirections.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "exchange.h"
#include "output_file.h"

namespace http_fetch {

using Clock = std::chrono::steady_clock;

class Transfer final : private Listener {
 public:
  // An empty file name stands for the one in the URL. `on_event` is called whenever anything has
  // come of an exchange.
  Transfer(const std::string& url, const std::string& file_name, const Settings& settings,
           std::function<void()> on_event);

  void start(kiv_box* box);
  // Gives up if nothing has arrived for a while.
  void check_idle(Clock::time_point now);

  const std::string& url() const { return url_; }
  const std::string& file_name() const { return file_.name(); }
  bool is_over() const { return state_ != State::running; }
  bool is_done() const { return state_ == State::done; }
  const std::string& why() const { return why_; }  // it failed
  std::uint64_t received() const { return received_; }
  std::uint64_t expected() const { return expected_; }  // 0: not known

  void fail(const std::string& why);

 private:
  enum class State { running, done, failed };

  void answered(kiv_http_table* head, zu_jitter* body, std::int32_t status) override;
  void closed() override;
  void failed(const std::string& why) override;

  void begin_exchange();
  void take(kiv_http_table* head, zu_jitter* body, std::int32_t status);
  void redirect(int status, const char* location);
  void keep(kiv_http_table* head, zu_jitter* body, std::int32_t status);
  void finish();
  void stop_exchange();

  const std::string url_;
  const Settings& settings_;
  const std::function<void()> on_event_;
  OutputFile file_;
  kiv_box* box_ = nullptr;
  std::optional<Target> target_;
  std::vector<std::unique_ptr<Exchange>> exchanges_;  // the last one is running
  bool with_form_;
  bool until_close_ = false;
  std::uint64_t received_ = 0, expected_ = 0;
  Clock::time_point last_sign_;  // of life
  State state_ = State::running;
  std::string why_;
};

}  // namespace http_fetch
