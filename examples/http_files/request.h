// What one request asks, taken out of the library's table, which is gone once the callback ends.
#pragma once

#include <string>

#include "kiv_base/http.h"

namespace http_files {

struct Request {
  std::string method;
  std::string target;
  std::string range;  // empty where the field is absent, as are the two below
  std::string if_range;
  std::string if_modified_since;
  std::string host;
  std::string origin;
  std::string type;              // of the body
  std::string body;              // as far as kMaxBody
  int status = 200;              // another one: to be answered with that alone
  bool keep_alive = true;        // false: the connection ends with the answer
  bool says_keep_alive = false;  // asked for by name, so that the answer says it too

  bool is_head() const { return method == "HEAD"; }
};

inline constexpr std::size_t kMaxBody = 64 * 1024;

// `body` may be NULL.
Request read_request(kiv_http_table* table, zu_jitter* body);

// Stands for an invalid request (400 for a broken stream, 408 for one that never came): answered
// with the status alone, after which the connection ends.
Request no_request(int status);

}  // namespace http_files
