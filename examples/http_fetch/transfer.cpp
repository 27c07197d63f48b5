#include "transfer.h"

#include <cstdlib>

#include "kiv_base/base.h"

namespace http_fetch {
namespace {

constexpr std::size_t kMaxRedirections = 10;
constexpr std::size_t kMaxTunnelHost = 128;  // the library would cut it
constexpr auto kMaxSilence = std::chrono::seconds(60);

std::string name_for(const std::string& given, const std::optional<Target>& target) {
  return !given.empty() ? given : target ? target->name : "";
}

constexpr bool is_redirection(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

}  // namespace

Transfer::Transfer(const std::string& url, const std::string& file_name, const Settings& settings,
                   std::function<void()> on_event)
    : url_(url),
      settings_(settings),
      on_event_(std::move(on_event)),
      file_(name_for(file_name, parse_target(url))),
      target_(parse_target(url)),
      with_form_(!settings.form.empty()) {}

void Transfer::start(kiv_box* box) {
  box_ = box;
  if (!target_) return fail("this is no http URL");
  begin_exchange();
}

void Transfer::begin_exchange() {
  last_sign_ = Clock::now();
  if (!settings_.proxy_host.empty() && target_->host.size() > kMaxTunnelHost) {
    return fail("the host's name is too long for a tunnel");
  }
  exchanges_.push_back(make_exchange(*target_, settings_, with_form_, *this));
  if (exchanges_.back()->start(box_)) return;
  const std::string& host = settings_.proxy_host.empty() ? target_->host : settings_.proxy_host;
  fail("the host '" + host + "' is unknown, or its port cannot be used");
}

void Transfer::check_idle(Clock::time_point now) {
  if (!is_over() && now - last_sign_ > kMaxSilence) fail("nothing has come for 60 seconds");
}

void Transfer::fail(const std::string& why) {
  stop_exchange();
  file_.abandon();
  why_ = why;
  state_ = State::failed;
}

void Transfer::finish() {
  stop_exchange();
  if (!file_.finish()) return fail("'" + file_.name() + "' cannot be written");
  state_ = State::done;
}

void Transfer::stop_exchange() {
  if (!exchanges_.empty()) exchanges_.back()->stop();
}

void Transfer::answered(kiv_http_table* head, zu_jitter* body, std::int32_t status) {
  last_sign_ = Clock::now();
  take(head, body, status);
  on_event_();
}

void Transfer::closed() {
  if (until_close_) {
    finish();
  } else if (received_ == 0) {
    fail("the connection ended without an answer, or with an empty one");
  } else {
    fail("the connection ended after " + std::to_string(received_) + " bytes");
  }
  on_event_();
}

void Transfer::failed(const std::string& why) {
  fail(why);
  on_event_();
}

void Transfer::take(kiv_http_table* head, zu_jitter* body, std::int32_t status) {
  const int code = kiv_http_table_GetStatusValue(head);
  const char* const location = kiv_http_table_GetField(head, "Location");
  if (code < 200) return;  // the answer proper follows
  if (is_redirection(code) && location != nullptr) return redirect(code, location);
  const char* const line = kiv_http_table_GetStatus(head);
  if (code > 299) return fail(line != nullptr ? line : "this is not an answer");
  keep(head, body, status);
}

// To another place. Browsers go there without the form except where the status forbids it.
void Transfer::redirect(int status, const char* location) {
  const std::string next = resolve(location, *target_);
  if (next.empty()) return fail("it has moved to what is no URL");
  if (!settings_.follow) return fail("it has moved to " + next + "; -L goes there");
  if (exchanges_.size() > kMaxRedirections) return fail("more than 10 redirections");
  stop_exchange();
  target_ = parse_target(next);
  if (!target_) return fail("it has moved to " + next + ", which is no http URL");
  if (status < 307) with_form_ = false;
  begin_exchange();
}

void Transfer::keep(kiv_http_table* head, zu_jitter* body, std::int32_t status) {
  const char* const length = kiv_http_table_GetField(head, "Content-Length");
  if (length != nullptr) expected_ = std::strtoull(length, nullptr, 10);
  received_ += static_cast<std::uint64_t>(zu_jitter_GetLen(body));
  until_close_ = status == KIV_HTTP_UNTIL_CLOSE;
  if (!file_.append(body)) return fail("'" + file_.name() + "' cannot be written");
  if (status == KIV_HTTP_COMPLETE) finish();
}

}  // namespace http_fetch
