// What comes out of a stream filter, as text. Shared with the fuzz target.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace kiv::test {

enum class Kind { request, response };

inline std::string taken(zu_jitter* jitter) {
  std::string bytes(static_cast<std::size_t>(zu_jitter_GetLen(jitter)), '\0');
  zu_jitter_GetData(jitter, bytes.data(), static_cast<std::int32_t>(bytes.size()));
  return bytes;
}

// A filter and all it has returned so far.
class Stream {
 public:
  explicit Stream(Kind kind) : kind_(kind), filter_(kiv_http_filter_request_make()) {}
  ~Stream() { kiv_http_filter_response_free(filter_); }

  kiv_http_filter* filter() const { return filter_; }

  int put(std::string_view bytes) {
    const auto n = static_cast<std::int32_t>(bytes.size());
    return kind_ == Kind::request ? kiv_http_filter_request_input(filter_, bytes.data(), n)
                                  : kiv_http_filter_response_input(filter_, bytes.data(), n);
  }

  // Takes out all there is: "target or status|name=value...>body" and a line end for each message,
  // then the status that is left and the body so far.
  std::string drain() {
    const bool request = kind_ == Kind::request;
    const auto get = request ? kiv_http_filter_request_get : kiv_http_filter_response_get;
    for (;;) {
      zu_jitter* body = nullptr;
      std::int32_t status = -1;
      kiv_http_table* table = get(filter_, &body, &status);
      body_ += taken(body);
      if (status == 13) add_message(table);
      kiv_http_table_free(table);
      zu_jitter_free(body);
      if (table == nullptr) {
        return messages_ + std::to_string(status) + ":" + (status == 0 ? "" : body_);
      }
    }
  }

 private:
  void add_message(kiv_http_table* table) {
    const char* first = kiv_http_table_GetRequest(table);
    messages_ += first != nullptr ? first : kiv_http_table_GetStatus(table);
    const char *name, *value;
    while (kiv_http_table_GetNextField(table, &name, &value) == 1) {
      messages_ += std::string("|") + name + "=" + value;
    }
    messages_ += ">" + body_ + "\n";
    body_.clear();
  }

  Kind kind_;
  kiv_http_filter* filter_;
  std::string messages_, body_;
};

// Feeds the bytes in pieces of the sizes that `cut` gives. Each piece is a copy of just its size,
// so that reading past it is caught.
template <typename Cut>
std::string outcome(Kind kind, std::string_view bytes, Cut cut, bool drain_often = false) {
  Stream stream(kind);
  int taken = 1;
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.size(), static_cast<std::size_t>(cut()));
    const std::vector<char> piece(bytes.data(), bytes.data() + size);
    taken = stream.put({piece.data(), size});
    bytes.remove_prefix(size);
    if (drain_often) stream.drain();
  }
  return stream.drain() + (taken == 1 ? "" : " broken");
}

}  // namespace kiv::test
