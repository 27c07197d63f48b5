// The messages of one connection's byte stream.
#pragma once

#include <cstdint>

#include "http/message.h"

namespace kiv::http {

// Complete messages that one connection may pile up. At most one is taken out for each read, and a
// read may bring hundreds.
inline constexpr std::int32_t kMaxWaiting = 1000;

}  // namespace kiv::http

// A queue of messages, oldest first. Input works on the newest, output on the oldest.
struct kiv_http_filter {
  kiv::http::Message* oldest;
  kiv::http::Message* newest;
  std::int32_t count;
  bool broken;

  // Uses all the input; false when the stream is broken, now or before.
  bool input(kiv::http::Input in, kiv::http::Kind kind) noexcept;

  // Refuses all further input.
  void break_stream() noexcept;

  // Number of complete messages that wait to be taken out.
  std::int32_t waiting() const noexcept;

  // The oldest message leaves the queue with its table and body.
  void take_oldest(kiv::http::OwnedTable& table, kiv::http::OwnedJitter& body) noexcept;

 private:
  bool step(kiv::http::Input& in, kiv::http::Kind kind) noexcept;
  kiv::http::Message* add_message() noexcept;
};
