// A text as head, as form and as encoded text: what was read is the same when printed and read
// again.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

std::string taken(char* text) {
  const std::string result = text == nullptr ? "" : text;
  _zu_free(text);
  return result;
}

void check(bool holds) {
  if (!holds) std::abort();
}

// Parses, prints and parses again.
void round_trip(const std::string& text, kiv_http_table* parse(const char*) noexcept,
                char* print(kiv_http_table*) noexcept) {
  kiv_http_table* table = parse(text.c_str());
  kiv_http_table* clone = kiv_http_table_clone(table);
  const std::string printed = taken(print(table));
  check(printed.empty() == taken(print(clone)).empty());
  kiv_http_table* again = printed.empty() ? nullptr : parse(printed.c_str());
  check(taken(print(again)) == printed);
  for (kiv_http_table* made : {table, clone, again}) kiv_http_table_free(made);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  const std::string text(data, size);
  round_trip(text, kiv_http_table_ParseHeaderStr, kiv_http_table_GetHeaderStr);
  round_trip(text, kiv_http_table_ParseFormStr, kiv_http_table_GetFormStr);
  zu_url_unescape_free(zu_url_unescape_malloc(text.c_str(), 0));
  const std::string escaped = taken(zu_url_escape_malloc(text.c_str(), 0));
  check(taken(zu_url_unescape_malloc(escaped.c_str(), 0)) == text.c_str());
  return 0;
}
