// Feeds one stream whole, bytewise and in pieces, as requests and as responses: the outcomes are
// the same. The first bytes of the input choose the kind and the sizes of the pieces.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

// Takes out all there is. Complete messages are added to `messages`, parts of a body to `part`.
std::int32_t drain(kiv_http_filter* filter, bool requests, std::string& messages,
                   std::string& part) {
  const auto get = requests ? kiv_http_filter_request_get : kiv_http_filter_response_get;
  for (;;) {
    zu_jitter* body = nullptr;
    std::int32_t status = 0;
    kiv_http_table* table = get(filter, &body, &status);
    if (table == nullptr) return status;
    std::vector<char> bytes(static_cast<std::size_t>(zu_jitter_GetLen(body)));
    zu_jitter_GetData(body, bytes.data(), static_cast<std::int32_t>(bytes.size()));
    part.append(bytes.begin(), bytes.end());
    if (status == KIV_HTTP_COMPLETE) {
      kiv_http_table_SetField(table, "Body", std::to_string(part.size()).c_str());
      char* head = kiv_http_table_GetHeaderStr(table);
      messages += head == nullptr ? "-" : head;
      messages += part;
      part.clear();
      _zu_free(head);
    }
    kiv_http_table_free(table);
    zu_jitter_free(body);
  }
}

std::string outcome(const std::uint8_t* bytes, std::size_t size, bool requests, std::size_t piece,
                    bool drain_often) {
  const auto input = requests ? kiv_http_filter_request_input : kiv_http_filter_response_input;
  kiv_http_filter* filter = kiv_http_filter_request_make();
  std::string messages, part;
  int taken = 1;
  for (std::size_t at = 0, n; at < size; at += n) {
    n = std::min(piece, size - at);
    const std::vector<std::uint8_t> copy(bytes + at, bytes + at + n);
    taken = input(filter, copy.data(), static_cast<std::int32_t>(n));
    if (drain_often) drain(filter, requests, messages, part);
  }
  const std::int32_t status = drain(filter, requests, messages, part);
  kiv_http_filter_request_free(filter);
  return messages + (taken == 1 ? part : "broken") + std::to_string(status);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const bool requests = (data[0] & 1) != 0;
  const std::size_t piece = data[1] + 2U;
  data += 2;
  size -= 2;
  const std::string wanted = outcome(data, size, requests, size, false);
  for (const bool drain_often : {false, true}) {
    if (outcome(data, size, requests, 1, drain_often) != wanted) std::abort();
    if (outcome(data, size, requests, piece, drain_often) != wanted) std::abort();
  }
  return 0;
}
