// The client: pings over a virtual connection.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "cipher.h"
#include "kiv_base/event.h"
#include "kiv_base/protocol.h"
#include "options.h"
#include "pulse.h"
#include "report.h"
#include "tally.h"

namespace uvc_ping {

class Ping {
 public:
  Ping(kiv_box* box, const Options& options, Cipher& cipher, Report& report);
  ~Ping() { kiv_uvc_free(client_); }
  Ping(const Ping&) = delete;
  Ping& operator=(const Ping&) = delete;

  // False when there is no such host, or no socket or memory. The loop is broken at the end.
  bool start();
  // From any thread: tells the server that this is the end.
  void stop();

  std::string name() const;
  const Tally& tally() const { return tally_; }
  // Datagrams that were no answers; forged, or of another key.
  std::uint64_t strange() const { return strange_; }

 private:
  static int KIV_CALL on_connected(kiv_uvc*, void* self);
  static int KIV_CALL on_failed(kiv_uvc*, void* self);
  static int KIV_CALL on_data(kiv_uvc*, void* self, char* body, std::int32_t length);
  static int KIV_CALL on_lost(kiv_uvc*, void* self);
  static int KIV_CALL on_foreign(kiv_uvc*, void* self, const char*, std::uint16_t, char*,
                                 std::int32_t);

  void greet();
  void send();
  void take(std::string_view body);
  void lose();
  void restart();
  bool all_sent() const { return options_.count != 0 && number_ == options_.count; }
  void end();
  void end_with(const std::string& remark);

  kiv_box* box_;
  const Options& options_;
  Cipher& cipher_;
  Report& report_;
  kiv_uvc* client_ = kiv_uvc_make();
  Pulse pulse_;
  Tally tally_;
  std::uint64_t run_ = 0;
  std::uint32_t number_ = 0;
  std::uint64_t strange_ = 0;
  bool is_answered_ = false;  // on this connection
  Clock::time_point connected_;
  std::atomic<bool> has_ended_ = false;
};

}  // namespace uvc_ping
