// The record behind a client of a virtual connection.
#pragma once

#include <cstdint>

#include "base/kiv_sem.h"
#include "kiv_base/protocol.h"
#include "protocol/uv_wire.h"

namespace kiv::protocol::uv {

// A connection that could not be made is "connecting" still, without a socket.
enum class ClientState : std::uint8_t { connecting = 0, connected = 1, lost = 2, closed = 3 };

}  // namespace kiv::protocol::uv

// As it is made, it has never been attached: every handle and number is 0 or null.
struct kiv_uvc {
  kiv::protocol::uv::Link link;
  std::uint32_t server_address;  // host order
  char server_ip[22];
  std::uint16_t server_port;
  char session[kiv::protocol::uv::kSession + 1];
  std::int32_t connect_timer;  // below 1: none; so for all timers
  std::int32_t keep_alive_timer;
  std::int32_t sent_recently;
  std::int32_t liveness_timer;
  std::int32_t peer_alive;
  kiv::protocol::uv::Callback<kiv_uvc_fn> on_connected;
  kiv::protocol::uv::Callback<kiv_uvc_fn> on_failed;
  kiv::protocol::uv::Callback<kiv_uvc_data_fn> on_data;
  kiv::protocol::uv::Callback<kiv_uvc_fn> on_lost;
  kiv::protocol::uv::Callback<kiv_uvc_foreign_fn> on_foreign;
  kiv::protocol::uv::ClientState state;
  char received[kiv::protocol::uv::kMaxDatagram + 1];
  std::int32_t received_length;
  char sent[kiv::protocol::uv::kMaxDatagram];

  kiv::protocol::uv::Pace keep_alive_pace;
  kiv::protocol::uv::Pace liveness_pace;

  kiv::protocol::uv::Address server() const { return {server_ip, server_port}; }
};

namespace kiv::protocol::uv {

// Lets go of timers and socket; the peer is told nothing.
void release(kiv_uvc& client);

// The box's handlers; the argument is the client.
void KIV_CALL serve_client(void* client);
void KIV_CALL connect_timed_out(void* box, void* client, std::int32_t timer, std::int32_t times);

}  // namespace kiv::protocol::uv
