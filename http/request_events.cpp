// What a request does when its connection is ready, answers, ends or keeps it waiting.
#include "http/request.h"

#include "event/endpoint.h"
#include "event/kiv_box_verbs.h"
#include "http/filter.h"

namespace kiv::http {
namespace {

constexpr std::int32_t kSendBuffer = 131072;
constexpr std::int32_t kReceiveBuffer = 1048576;

using Request = Served<kiv_http_request>;

// Ends the exchange and notifies the application.
void fail(base::Locked<kiv_http_request>& request) {
  const auto on_failure = request->on_failure;
  kiv_box* const box = request->connection.box;
  const std::int32_t socket = request->release();
  request.unlock();
  on_failure.call(box, socket);
}

void end_exchange(Request& request,
                  Callback<kiv_http_request_socket_fn> kiv_http_request::*callback) {
  request->connection.end_timer();
  if (!request->outgoing.is_done()) request->connection.stop_writing();
  request->outgoing.clear();
  const auto called = (*request).*callback;
  kiv_box* const box = request->connection.box;
  const std::int32_t socket = request->connection.socket;
  request.unlock();
  called.call(box, socket);
}

// A failed write is left to the read side, which finds out what became of the connection.
void write_more(kiv_http_request& request) {
  Outgoing& out = request.outgoing;
  const std::int32_t sent = event::write(request.connection.box, request.connection.socket,
                                         out.text + out.sent, out.length - out.sent);
  if (sent > 0) out.sent += sent;
  if (out.is_done()) out.clear();
}

void KIV_CALL handle_writable(void* argument) {
  base::Locked request(static_cast<kiv_http_request*>(argument));
  if (!request || request->outgoing.is_done()) return;
  write_more(*request);
  if (request->outgoing.is_done()) request->connection.stop_writing();
}

void KIV_CALL handle_connect(void*, void* argument, std::int32_t socket) {
  Request request(argument, &Connection::socket, socket);
  if (!request) return;
  event::set_buffers(socket, kSendBuffer, kReceiveBuffer);
  std::int32_t length = 0;
  OwnedText text = request_text(*request->table, *request->uri, length);
  if (!text) return fail(request);
  request->outgoing.set(std::move(text), length);
  write_more(*request);
  if (request->outgoing.is_done()) return;
  if (!request->connection.await_writing(handle_writable, request.get())) fail(request);
}

void KIV_CALL handle_failure(void*, void* argument, std::int32_t socket) {
  Request request(argument, &Connection::socket, socket);
  if (request) end_exchange(request, &kiv_http_request::on_failure);
}

// Passes the oldest answer, or what came of its body, to the application; nothing if there is none.
void deliver(Request& request) {
  zu_jitter* bytes = nullptr;
  std::int32_t status = 0;
  const OwnedTable table(kiv_http_filter_response_get(request->filter, &bytes, &status));
  const OwnedJitter body(bytes);
  if (table == nullptr) return;
  const OwnedText url(kiv_uri_GetURIString(request->uri));
  if (!url) return fail(request);
  const auto on_response = request->on_response;
  kiv_box* const box = request->connection.box;
  const std::int32_t socket = request->connection.socket;
  request.unlock();
  on_response.call(box, socket, url.get(), table.get(), body.get(), status);
}

// The answers that were complete when the stream broke, then the failure: as if each had come in a
// read of its own. An exchange that a callback has begun meanwhile has another filter, not broken.
void deliver_rest(void* argument, std::int32_t socket) {
  for (;;) {
    Request request(argument, &Connection::socket, socket);
    if (!request || !request->filter->broken) return;
    if (request->filter->waiting() == 0) return fail(request);
    deliver(request);
  }
}

// deliberate: the time limit ends with the first data, and each read delivers one message at most;
// applications set limits of their own, and count on one call for each piece that arrives.
void KIV_CALL handle_read(void*, void* argument, std::int32_t socket, char* data,
                          std::int32_t length) {
  Request request(argument, &Connection::socket, socket);
  if (!request) return;
  request->connection.end_timer();
  const bool taken = kiv_http_filter_response_input(request->filter, data, length) == 1;
  if (request->filter->waiting() > kMaxWaiting) return fail(request);
  if (taken) return deliver(request);
  request.unlock();
  deliver_rest(argument, socket);
}

void KIV_CALL handle_close(void*, void* argument, std::int32_t socket) {
  Request request(argument, &Connection::socket, socket);
  if (request) end_exchange(request, &kiv_http_request::on_close);
}

void KIV_CALL handle_timeout(void*, void* argument, std::int32_t timer, std::int32_t) {
  Request request(argument, &Connection::timer, timer);
  if (request) fail(request);
}

}  // namespace

const Handlers kRequestHandlers = {handle_connect, handle_failure, handle_read, handle_close,
                                   handle_timeout};

}  // namespace kiv::http
