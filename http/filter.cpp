// The queue of a filter, and what goes in and out of it through the exported functions.
#include "http/filter.h"

using namespace kiv::http;

namespace {

kiv_http_filter* make() {
  return kiv::base::make<kiv_http_filter>().release();
}

void free_filter(kiv_http_filter* filter) {
  if (filter == nullptr) return;
  OwnedTable table;
  OwnedJitter body;
  while (filter->oldest != nullptr) filter->take_oldest(table, body);
  kiv::base::destroy(filter);
}

int input(kiv_http_filter* filter, const void* bytes, std::int32_t n, Kind kind) {
  if (filter == nullptr || bytes == nullptr || n < 0) return 0;
  const auto* first = static_cast<const char*>(bytes);
  return filter->input({first, first + n}, kind) ? 1 : 0;
}

std::int32_t shown_status(const kiv_http_filter* filter) {
  const Message* const oldest = filter == nullptr ? nullptr : filter->oldest;
  if (oldest == nullptr || oldest->state == KIV_HTTP_BROKEN) return 0;
  return oldest->state == KIV_HTTP_CHUNKED ? KIV_HTTP_BODY : oldest->state;
}

// Sets the optional outputs to nothing and the status of the oldest message, and returns that.
std::int32_t begin_output(const kiv_http_filter* filter, zu_jitter** body, std::int32_t* status) {
  const std::int32_t shown = shown_status(filter);
  if (body != nullptr) *body = nullptr;
  if (status != nullptr) *status = shown;
  return shown;
}

kiv_http_table* get_complete(kiv_http_filter& filter, zu_jitter** body) {
  OwnedTable table;
  OwnedJitter bytes;
  filter.take_oldest(table, bytes);
  if (body != nullptr) *body = bytes.release();
  return table.release();
}

// A clone of the table and, when asked for, the body bytes that came since the last call. They
// stay when there is no body output to put them into.
kiv_http_table* get_part(Message& message, zu_jitter** body) {
  if (message.body->length == 0) return nullptr;
  OwnedTable table = clone(*message.table);
  if (table == nullptr || body == nullptr) return table.release();
  kiv::containers::Jitter* const fresh = kiv::containers::new_jitter();
  if (fresh == nullptr) return nullptr;
  *body = message.body;
  message.body = fresh;
  return table.release();
}

kiv_http_table* get(kiv_http_filter* filter, zu_jitter** body, std::int32_t* status, Kind kind) {
  switch (begin_output(filter, body, status)) {
    case KIV_HTTP_COMPLETE:
      return get_complete(*filter, body);
    case KIV_HTTP_BODY:
      return kind == Kind::response ? get_part(*filter->oldest, body) : nullptr;
    case KIV_HTTP_UNTIL_CLOSE:
      return get_part(*filter->oldest, body);
    default:
      return nullptr;
  }
}

}  // namespace

bool kiv_http_filter::input(Input in, Kind kind) noexcept {
  while (!broken && in.left() > 0) {
    if (!step(in, kind)) break_stream();
  }
  return !broken;
}

bool kiv_http_filter::step(Input& in, Kind kind) noexcept {
  const bool between = newest == nullptr || newest->state == KIV_HTTP_COMPLETE;
  Message* const message = between ? add_message() : newest;
  if (message == nullptr) return false;
  switch (message->state) {
    case KIV_HTTP_NEW:
    case KIV_HTTP_HEAD:
      return take_head(*message, in, kind);
    case KIV_HTTP_CHUNKED:
      return take_chunked(*message, in);
    default:
      return take_body(*message, in);
  }
}

Message* kiv_http_filter::add_message() noexcept {
  auto made = kiv::base::make<Message>();
  if (!made) return nullptr;
  if (newest == nullptr) {
    oldest = made.get();
  } else {
    // The last chunk may have left a byte that belongs to this message.
    made->held = newest->held;
    made->held_length = newest->held_length;
    newest->held = nullptr;
    newest->next = made.get();
  }
  newest = made.release();
  ++count;
  return newest;
}

void kiv_http_filter::break_stream() noexcept {
  broken = true;
  if (newest != nullptr && newest->state != KIV_HTTP_COMPLETE) newest->state = KIV_HTTP_BROKEN;
}

std::int32_t kiv_http_filter::waiting() const noexcept {
  return newest == nullptr || newest->state == KIV_HTTP_COMPLETE ? count : count - 1;
}

void kiv_http_filter::take_oldest(OwnedTable& table, OwnedJitter& body) noexcept {
  Message* const message = oldest;
  table.reset(message->table);
  body.reset(message->body);
  oldest = message->next;
  if (oldest == nullptr) newest = nullptr;
  --count;
  kiv::base::deallocate(message->held);
  kiv::base::destroy(message);
}

kiv_http_filter* KIV_CALL kiv_http_filter_request_make() KIV_NOEXCEPT {
  return make();
}

kiv_http_filter* KIV_CALL kiv_http_filter_response_make() KIV_NOEXCEPT {
  return make();
}

void KIV_CALL kiv_http_filter_request_free(kiv_http_filter* filter) KIV_NOEXCEPT {
  free_filter(filter);
}

void KIV_CALL kiv_http_filter_response_free(kiv_http_filter* filter) KIV_NOEXCEPT {
  free_filter(filter);
}

int KIV_CALL kiv_http_filter_request_input(kiv_http_filter* filter, const void* bytes,
                                           int32_t n) KIV_NOEXCEPT {
  return input(filter, bytes, n, Kind::request);
}

int KIV_CALL kiv_http_filter_response_input(kiv_http_filter* filter, const void* bytes,
                                            int32_t n) KIV_NOEXCEPT {
  return input(filter, bytes, n, Kind::response);
}

kiv_http_table* KIV_CALL kiv_http_filter_request_get(kiv_http_filter* filter, zu_jitter** body,
                                                     int32_t* status) KIV_NOEXCEPT {
  return get(filter, body, status, Kind::request);
}

kiv_http_table* KIV_CALL kiv_http_filter_response_get(kiv_http_filter* filter, zu_jitter** body,
                                                      int32_t* status) KIV_NOEXCEPT {
  return get(filter, body, status, Kind::response);
}

int KIV_CALL kiv_http_filter_request_peek(kiv_http_filter* filter, kiv_http_table** table,
                                          zu_jitter** body, int32_t* status) KIV_NOEXCEPT {
  if (table != nullptr) *table = nullptr;
  const std::int32_t shown = begin_output(filter, body, status);
  if (shown < KIV_HTTP_BODY) return 0;
  if (table != nullptr) *table = filter->oldest->table;
  if (body != nullptr) *body = filter->oldest->body;
  return 1;
}
