#include "ping.h"

#include <random>

#include "message.h"

namespace uvc_ping {
namespace {

constexpr std::uint32_t kLastWaitMs = 2000;
constexpr std::uint32_t kPauseMs = 1000;      // a server that ends is not gone at once
constexpr std::chrono::seconds kLiveness{9};  // of the connection, and a second less

std::uint64_t random_number() {
  std::random_device device;
  return std::uint64_t{device()} << 32 | device();
}

Ping* to_ping(void* self) {
  return static_cast<Ping*>(self);
}

}  // namespace

Ping::Ping(kiv_box* box, const Options& options, Cipher& cipher, Report& report)
    : box_(box),
      options_(options),
      cipher_(cipher),
      report_(report),
      pulse_(options.interval_ms, [this] { send(); }),
      run_(random_number()) {}

bool Ping::start() {
  return kivx_uvc_attach(box_, client_, 0, options_.host.c_str(), options_.port, on_connected, this,
                         on_failed, this, on_data, this, on_lost, this, on_foreign, this) == 1;
}

void Ping::stop() {
  has_ended_ = true;
  kiv_uvc_close(client_);
}

std::string Ping::name() const {
  return options_.host + ":" + std::to_string(options_.port);
}

int KIV_CALL Ping::on_connected(kiv_uvc*, void* self) {
  to_ping(self)->greet();
  return 0;
}

int KIV_CALL Ping::on_failed(kiv_uvc*, void* self) {
  Ping& ping = *to_ping(self);
  ping.end_with("nobody answers at " + ping.name());
  return 0;
}

int KIV_CALL Ping::on_data(kiv_uvc*, void* self, char* body, std::int32_t length) {
  to_ping(self)->take({body, static_cast<std::size_t>(length)});
  return 0;
}

int KIV_CALL Ping::on_lost(kiv_uvc*, void* self) {
  to_ping(self)->lose();
  return 0;
}

int KIV_CALL Ping::on_foreign(kiv_uvc*, void* self, const char*, std::uint16_t, char*,
                              std::int32_t) {
  ++to_ping(self)->strange_;
  return 0;
}

void Ping::greet() {
  report_.connected("connected to " + name() + ": " + std::to_string(options_.size) + " bytes, " +
                    (options_.key.empty() ? "unencrypted" : "encrypted"));
  connected_ = Clock::now();
  is_answered_ = false;
  if (!pulse_.start(box_)) end_with("no memory for timers");
}

void Ping::send() {
  if (all_sent() || has_ended_) return;
  const std::string body =
      cipher_.encipher(to_text({Message::Kind::ping, ++number_, run_, options_.size}));
  const Clock::time_point now = Clock::now();
  if (kiv_uvc_write(client_, body.data(), static_cast<std::int32_t>(body.size())) > 0) {
    tally_.add_sent(number_, now);
  } else if (!has_ended_) {
    report_.remark("the system does not take number " + std::to_string(number_));
  }
  report_.counts(tally_);
  if (!all_sent()) return;
  pulse_.stop();
  kiv_box_NewOnceTimer(
      box_, kLastWaitMs,
      [](void*, void* self, std::int32_t, std::int32_t) { to_ping(self)->end(); }, this);
}

// Whoever hits the port can send data, so that one that is no answer harms nothing.
void Ping::take(std::string_view body) {
  const Clock::time_point now = Clock::now();
  const auto text = cipher_.decipher(body);
  const auto message = text ? parse_message(*text) : std::nullopt;
  Tally::Answer answer{Tally::Answer::unknown, {}};
  if (message && message->kind == Message::Kind::pong && message->run == run_) {
    answer = tally_.take_answer(message->number, now);
  }
  if (answer.kind == Tally::Answer::unknown) {
    ++strange_;
    return;
  }
  is_answered_ = true;
  report_.answer(message->number, answer, tally_);
  if (all_sent() && tally_.missing() == 0) end();
}

// A server that cannot read what it gets hangs up. One that has answered may come back, or has only
// missed too many keep-alives.
void Ping::lose() {
  pulse_.stop();
  if (is_answered_ && !all_sent()) {
    report_.remark("the connection is lost, connecting again");
    kiv_box_NewOnceTimer(
        box_, kPauseMs,
        [](void*, void* self, std::int32_t, std::int32_t) { to_ping(self)->restart(); }, this);
  } else if (!is_answered_ && Clock::now() - connected_ < kLiveness) {
    end_with(name() + " hung up without an answer: wrong key");
  } else {
    end_with("the connection is lost");
  }
}

void Ping::restart() {
  if (!has_ended_ && !start()) end_with("and cannot be opened again");
}

void Ping::end() {
  pulse_.stop();
  stop();
  kiv_box_BreakLoop(box_);
}

void Ping::end_with(const std::string& remark) {
  report_.remark(remark);
  end();
}

}  // namespace uvc_ping
