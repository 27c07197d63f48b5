// A text as head, as form and as escaped text: what was read, when printed and read again, is the
// same.
#include <cstdint>
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

void head(const std::string& text) {
  kiv_http_table* table = kiv_http_table_ParseHeaderStr(text.c_str());
  const std::string printed = taken(kiv_http_table_GetHeaderStr(table));
  if (!printed.empty()) {
    kiv_http_table* again = kiv_http_table_ParseHeaderStr(printed.c_str());
    check(taken(kiv_http_table_GetHeaderStr(again)) == printed);
    kiv_http_table_free(again);
  }
  kiv_http_table* clone = kiv_http_table_clone(table);
  const std::string cloned = taken(kiv_http_table_GetHeaderStr(clone));
  check(cloned.size() == printed.size());  // but for the digit of the version
  kiv_http_table_free(clone);
  kiv_http_table_free(table);
}

void form(const std::string& text) {
  kiv_http_table* table = kiv_http_table_ParseFormStr(text.c_str());
  const std::string printed = taken(kiv_http_table_GetFormStr(table));
  check(printed.empty() || text.find(printed) != std::string::npos);
  // Escaped afresh, the raw values are the same again.
  kiv_http_table* clone = kiv_http_table_clone(table);
  kiv_http_table* again =
      kiv_http_table_ParseFormStr(taken(kiv_http_table_GetFormStr(clone)).c_str());
  const char *raw, *raw_again;
  while (kiv_http_table_GetNextForm(table, nullptr, nullptr, &raw) == 1) {
    check(kiv_http_table_GetNextForm(again, nullptr, nullptr, &raw_again) == 1);
    check(std::string(raw) == raw_again);
  }
  kiv_http_table_free(again);
  kiv_http_table_free(clone);
  kiv_http_table_free(table);
}

void encodings(const std::string& text) {
  zu_url_unescape_free(zu_url_unescape_malloc(text.c_str(), 0));
  check(taken(zu_url_unescape_malloc(taken(zu_url_escape_malloc(text.c_str(), 0)).c_str(), 0)) ==
        text.c_str());
  std::string decoded(text.size() / 2 + 1, '\0');
  zu_base64_decode(decoded.data(), text.c_str(), static_cast<std::int32_t>(decoded.size()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  head(text);
  form(text);
  encodings(text);
  return 0;
}
