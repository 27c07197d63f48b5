// What a request sends.
#include <cstring>

#include "http/request.h"

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
  const std::string_view method = settings.method.text != nullptr ? settings.method.text : "GET";
  const OwnedText target(kiv_uri_GetURIRequest(&uri));
  return target && head.method.set(method.data(), method.size()) &&
         head.request.set(target.get(), std::strlen(target.get())) &&
         head.set_field("Host", uri.host);
}

bool set_default_fields(kiv_http_table& head) {
  for (const DefaultField& field : kDefaultFields) {
    if (!head.set_field(field.name, field.value)) return false;
  }
  return true;
}

// The application's fields replace defaults by name. Its form fields are set afresh, so that their
// length is right however often they were changed.
bool add_settings(kiv_http_table& head, const kiv_http_table& settings) {
  for (const Field& field : settings.fields) {
    if (!head.set_field(field.name.text, field.value.text)) return false;
  }
  for (const Form& form : settings.forms) {
    if (!head.set_form(form.name.get(), form.raw.get())) return false;
  }
  return true;
}

// deliberate: a form goes out with every method, though only a POST tells its length.
OwnedText whole_text(kiv_http_table& head, std::int32_t& length) {
  OwnedText fields = head.head_text();
  const OwnedText form = head.form_text();
  const auto form_length = static_cast<std::size_t>(head.form_text_length());
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

OwnedText request_text(const kiv_http_table& settings, const kiv_uri& uri,
                       std::int32_t& length) noexcept {
  const OwnedTable head = make_table();
  if (head == nullptr || !set_start(*head, settings, uri) || !set_default_fields(*head) ||
      !add_settings(*head, settings)) {
    return OwnedText();
  }
  return whole_text(*head, length);
}

}  // namespace kiv::http
