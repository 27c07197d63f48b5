#include "request.h"

#include <algorithm>
#include <memory>

#include "kiv_base/base.h"
#include "text.h"

namespace http_files {
namespace {

struct Text {
  explicit Text(char* text) : data(text) {}
  ~Text() { _zu_free(data); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  char* data;
};

// The table has no getter for the version, but writes it behind method and target.
bool is_http_1_0(kiv_http_table* table, const Request& request) {
  kiv_http_table_SetField(table, "Connection", "?");  // without any field nothing is written
  const Text head(kiv_http_table_GetHeaderStr(table));
  if (head.data == nullptr) return true;
  const std::string_view version =
      std::string_view(head.data).substr(request.method.size() + 1 + request.target.size() + 1, 8);
  return version == "HTTP/1.0";
}

}  // namespace

Request read_request(kiv_http_table* table, zu_jitter* body) {
  Request request;
  request.body.resize(std::min(kMaxBody, static_cast<std::size_t>(zu_jitter_GetLen(body))));
  zu_jitter_GetData(body, request.body.data(), static_cast<std::int32_t>(request.body.size()));
  request.method = kiv_http_table_GetMethod(table);
  request.target = kiv_http_table_GetRequest(table);

  std::string_view connection;
  bool has_host = false;
  bool has_none_match = false;
  std::string_view length;
  const char* name_text = nullptr;
  const char* value_text = nullptr;
  kiv_http_table_RewindField(table);
  while (kiv_http_table_GetNextField(table, &name_text, &value_text) == 1) {
    const std::string_view name = name_text;
    const std::string_view value = value_text;
    if (equal_ignoring_case(name, "Host")) {
      has_host = true;
      request.host = value;
    } else if (equal_ignoring_case(name, "Origin")) {
      request.origin = value;
    } else if (equal_ignoring_case(name, "Content-Type")) {
      request.type = value;
    } else if (equal_ignoring_case(name, "Connection")) {
      connection = value;
    } else if (equal_ignoring_case(name, "Range")) {
      request.range = value;
    } else if (equal_ignoring_case(name, "If-Range")) {
      request.if_range = value;
    } else if (equal_ignoring_case(name, "If-Modified-Since")) {
      request.if_modified_since = value;
    } else if (equal_ignoring_case(name, "If-None-Match")) {
      has_none_match = true;
    } else if (equal_ignoring_case(name, "Transfer-Encoding")) {
      request.status = 501;  // its body would be read as the next request
    } else if (equal_ignoring_case(name, "Content-Length")) {
      // Two lengths, or one that is no number, leave it open where the next request begins.
      if (!parse_number(value) || (!length.empty() && length != value)) request.status = 400;
      length = value;
    }
  }
  // An entity tag outranks the date, and no file here has one (RFC 7232, 3.3).
  if (has_none_match) request.if_modified_since.clear();

  request.says_keep_alive = has_token(connection, "keep-alive");
  request.keep_alive = request.status == 200 && !has_token(connection, "close");
  if (!has_host || (request.keep_alive && !request.says_keep_alive)) {
    if (is_http_1_0(table, request)) {
      request.keep_alive = request.keep_alive && request.says_keep_alive;
    } else if (!has_host) {
      request.status = 400;
      request.keep_alive = false;
    }
  }
  return request;
}

Request no_request(int status) {
  Request request;
  request.status = status;
  request.keep_alive = false;
  return request;
}

}  // namespace http_files
