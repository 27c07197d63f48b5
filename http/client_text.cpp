// What a request sends.
#include <cstring>

#include "http/client.h"

namespace kiv::http {
namespace {

struct DefaultField {
  const char* name;
  const char* value;
};

constexpr DefaultField kDefaultFields[] = {
    {"User-Agent", "Mozilla/5.0 (compatible; MSIE6.0; MSIE 7.0; Windows NT 5.1) Gecko/20071127"},
    {"Accept",
     "text/xml,application/xml,application/xhtml+xml,text/html;q=0.9,text/plain;q=0.8,image/gif,"
     "image/x-xbitmap,image/jpeg,image/png,*/*;q=0.5"},
    {"Accept-Language", "zh-cn,zh;q=0.5"},
    {"Accept-Charset", "GB2312,utf-8;q=0.7,*;q=0.7"},
    {"Keep-Alive", "300"},
    {"Connection", "Keep-Alive"},
};

// deliberate: the same target with and without a proxy, and no port beside the host; servers that
// the applications talk to were set up for it.
bool set_start(kiv_http_table& head, const kiv_http_table& settings, const kiv_uri& uri) {
  const char* const method = kiv_http_table_GetMethod(&settings);
  const OwnedText target(kiv_uri_GetURIRequest(&uri));
  return kiv_http_table_SetMethod(&head, method != nullptr ? method : "GET") == 1 &&
         kiv_http_table_SetRequest(&head, target.get()) == 1 &&
         kiv_http_table_SetField(&head, "Host", uri.host) == 1;
}

bool set_default_fields(kiv_http_table& head) {
  for (const DefaultField& field : kDefaultFields) {
    if (kiv_http_table_SetField(&head, field.name, field.value) != 1) return false;
  }
  return true;
}

// The application's fields replace defaults by name. Its form fields are set afresh, so that their
// length is right however often they were changed.
bool add_settings(kiv_http_table& head, kiv_http_table& settings) {
  const char* name = nullptr;
  const char* value = nullptr;
  kiv_http_table_RewindField(&settings);
  while (kiv_http_table_GetNextField(&settings, &name, &value) == 1) {
    if (kiv_http_table_SetField(&head, name, value) != 1) return false;
  }
  kiv_http_table_RewindForm(&settings);
  while (kiv_http_table_GetNextForm(&settings, &name, nullptr, &value) == 1) {
    if (kiv_http_table_SetForm(&head, name, value) != 1) return false;
  }
  return true;
}

// deliberate: a form goes out with every method, though only a POST tells its length.
OwnedText whole_text(kiv_http_table& head, std::int32_t& length) {
  OwnedText fields(kiv_http_table_GetHeaderStr(&head));
  const OwnedText form(kiv_http_table_GetFormStr(&head));
  const auto form_length = static_cast<std::size_t>(kiv_http_table_GetFormStrLen(&head));
  if (!fields || (!form && form_length > 0)) return OwnedText();
  const std::size_t fields_length = std::strlen(fields.get());
  length = static_cast<std::int32_t>(fields_length + form_length);
  if (!form) return fields;
  OwnedText both = OwnedText::allocate(fields_length + form_length);
  if (!both) return both;
  std::memcpy(both.get(), fields.get(), fields_length);
  std::memcpy(both.get() + fields_length, form.get(), form_length);
  return both;
}

}  // namespace

OwnedText request_text(kiv_http_table& settings, const kiv_uri& uri,
                       std::int32_t& length) noexcept {
  const OwnedTable head(kiv_http_table_make());
  if (head == nullptr || !set_start(*head, settings, uri) || !set_default_fields(*head) ||
      !add_settings(*head, settings)) {
    return OwnedText();
  }
  return whole_text(*head, length);
}

}  // namespace kiv::http
