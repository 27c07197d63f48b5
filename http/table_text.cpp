// Tables as text: the head and the form.
#include <cstdio>

#include "http/table.h"

namespace kiv::http {
namespace {

bool set_form_fields(kiv_http_table& table) {
  char length[16];
  std::snprintf(length, sizeof length, "%d", static_cast<int>(table.form_text_length()));
  return table.set_field("Content-Type", "application/x-www-form-urlencoded") &&
         table.set_field("Content-Length", length);
}

void put_start_line(TextBuffer& out, const kiv_http_table& table) {
  if (table.method.text == nullptr) {
    out.put(table.version.text);
    out.put(" ", 1);
    out.put(table.status.text);
  } else {
    out.put(table.method.text);
    out.put(" ", 1);
    if (table.request.text != nullptr) {
      out.put(table.request.text);
      out.put(" ", 1);
    }
    out.put(table.version.text);
  }
  out.put("\r\n", 2);
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

OwnedText kiv_http_table::head_text() noexcept {
  // deliberate: no header field, no text, even for a form that would bring fields of its own.
  if (fields.is_empty()) return OwnedText();
  if (method.text == nullptr && status.text == nullptr) {
    std::printf("error: method or status is NULL in kiv_http_table_GetHeaderStr()!\n");
    return OwnedText();
  }
  if (method.text != nullptr && same_name(method.text, "POST") && !forms.is_empty() &&
      !set_form_fields(*this)) {
    return OwnedText();
  }
  // deliberate: the default goes into the table too; callers read it back from there.
  if (version.text == nullptr && !version.set("HTTP/1.1", 8)) return OwnedText();
  TextBuffer out;
  put_start_line(out, *this);
  for (const Field& field : fields) {
    out.put(field.name.text);
    out.put(": ", 2);
    out.put(field.value.text);
    out.put("\r\n", 2);
  }
  out.put("\r\n", 2);
  return OwnedText(out.release());
}

OwnedText kiv_http_table::form_text() const noexcept {
  if (forms.is_empty()) return OwnedText();
  TextBuffer out;
  for (const Form& form : forms) {
    out.put(form.name.get());
    out.put("=", 1);
    out.put(form.escaped.get());
    out.put("&", 1);
  }
  out.drop_last();
  const std::int32_t expected = form_text_length();
  OwnedText text(out.release());
  if (!text) return OwnedText();
  if (expected < 0 || out.length() != static_cast<std::size_t>(expected)) {
    std::printf("error: Content-Length error(%d) in kiv_http_table_GetFormStr()\n",
                static_cast<int>(expected));
    return OwnedText();
  }
  return text;
}
