// Tables as text: the head and the form.
#include <cstdio>

#include "http/table.h"

namespace kiv::http {
namespace {

bool set_form_fields(kiv_http_table* table) {
  char length[16];
  std::snprintf(length, sizeof length, "%d", static_cast<int>(kiv_http_table_GetFormStrLen(table)));
  return kiv_http_table_SetField(table, "Content-Type", "application/x-www-form-urlencoded") == 1 &&
         kiv_http_table_SetField(table, "Content-Length", length) == 1;
}

void put_start_line(TextBuffer& out, const kiv_http_table& table) {
  if (table.method == nullptr) {
    out.put(table.version);
    out.put(" ", 1);
    out.put(table.status);
  } else {
    out.put(table.method);
    out.put(" ", 1);
    if (table.request != nullptr) {
      out.put(table.request);
      out.put(" ", 1);
    }
    out.put(table.version);
  }
  out.put("\r\n", 2);
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

char* KIV_CALL kiv_http_table_GetHeaderStr(kiv_http_table* table) KIV_NOEXCEPT {
  // deliberate: no header field, no text, even for a form that would bring fields of its own.
  if (table == nullptr || table->fields == nullptr) return nullptr;
  if (table->method == nullptr && table->status == nullptr) {
    std::printf("error: method or status is NULL in kiv_http_table_GetHeaderStr()!\n");
    return nullptr;
  }
  if (table->method != nullptr && same_name(table->method, "POST") && table->forms != nullptr &&
      !set_form_fields(table)) {
    return nullptr;
  }
  // deliberate: the default goes into the table too; callers read it back from there.
  if (table->version == nullptr && !replace_text(table->version, "HTTP/1.1", 8)) return nullptr;
  TextBuffer out;
  put_start_line(out, *table);
  for (zu_list* node = table->fields; node != nullptr; node = node->next) {
    const auto* field = static_cast<const Field*>(node->data);
    out.put(field->name);
    out.put(": ", 2);
    out.put(field->value);
    out.put("\r\n", 2);
  }
  out.put("\r\n", 2);
  return out.release();
}

char* KIV_CALL kiv_http_table_GetFormStr(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr || table->forms == nullptr) return nullptr;
  TextBuffer out;
  for (zu_list* node = table->forms; node != nullptr; node = node->next) {
    const auto* form = static_cast<const Form*>(node->data);
    out.put(form->name);
    out.put("=", 1);
    out.put(form->escaped);
    out.put("&", 1);
  }
  out.drop_last();
  const std::int32_t expected = kiv_http_table_GetFormStrLen(table);
  OwnedText text(out.release());
  if (!text) return nullptr;
  if (expected < 0 || out.length() != static_cast<std::size_t>(expected)) {
    std::printf("error: Content-Length error(%d) in kiv_http_table_GetFormStr()\n",
                static_cast<int>(expected));
    return nullptr;
  }
  return text.release();
}

int32_t KIV_CALL kiv_http_table_GetFormStrLen(const kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr || table->forms == nullptr) return 0;
  return static_cast<int32_t>(static_cast<uint32_t>(table->form_length) - 1U);
}
