// One exchange of the HTTP client over a box.
#pragma once

#include <cstdint>

#include "http/connection.h"
#include "http/table.h"

namespace kiv::http {

// Bytes on their way out. What a write leaves over goes when the socket takes more.
struct Outgoing {
  char* text;
  std::int32_t length;
  std::int32_t sent;

  bool is_done() const { return sent == length; }
  // Takes the text over.
  void set(OwnedText bytes, std::int32_t count) noexcept;
  void clear() noexcept { set(OwnedText(), 0); }
};

// The request line, the fields and the form; `length` is theirs together. Empty if out of memory,
// or when the head is one that no text can be made of.
OwnedText request_text(const kiv_http_table& settings, const kiv_uri& uri,
                       std::int32_t& length) noexcept;

// How the request's connection is served.
extern const Handlers kRequestHandlers;

}  // namespace kiv::http

struct kiv_http_request {
  kiv::http::Connection connection;
  kiv_http_table* table;  // method, fields and form fields of the application
  kiv_uri* uri;
  char* proxy_host;
  std::int32_t proxy_port;
  kiv::http::Callback<kiv_http_request_socket_fn> reserved;
  kiv::http::Callback<kiv_http_request_socket_fn> on_failure;
  kiv::http::Callback<kiv_http_request_response_fn> on_response;
  kiv::http::Callback<kiv_http_request_socket_fn> on_close;
  kiv_http_filter* filter;
  kiv::http::Outgoing outgoing;

  // Ends an exchange; returns the id that its socket had.
  std::int32_t release() noexcept;
};
