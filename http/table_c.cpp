// kiv_http_table_*: the C interface of tables.
#include <cstring>

#include "http/table.h"

static_assert(sizeof(kiv_http_status_lines) / sizeof(kiv_http_status_lines[0]) == 58);

using namespace kiv::http;

namespace {

const char* get_text(const kiv_http_table* table, TableText kiv_http_table::*text) {
  return table == nullptr ? nullptr : (table->*text).text;
}

int set_text(kiv_http_table* table, TableText kiv_http_table::*text, const char* value) {
  if (table == nullptr || value == nullptr) return 0;
  return (table->*text).set(value, std::strlen(value)) ? 1 : 0;
}

int unset_text(kiv_http_table* table, TableText kiv_http_table::*text) {
  if (table == nullptr) return 0;
  (table->*text).reset();
  return 1;
}

Form* find_form(const kiv_http_table* table, const char* name) {
  return table == nullptr || name == nullptr ? nullptr : table->find_form(name);
}

}  // namespace

kiv_http_table* KIV_CALL kiv_http_table_make() KIV_NOEXCEPT {
  return make_table().release();
}

void KIV_CALL kiv_http_table_free(kiv_http_table* table) KIV_NOEXCEPT {
  kiv::base::destroy(table);
}

void KIV_CALL kiv_http_table_clean(kiv_http_table* table) KIV_NOEXCEPT {
  if (table != nullptr) table->clear();
}

kiv_http_table* KIV_CALL kiv_http_table_clone(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? nullptr : clone(*table).release();
}

const char* KIV_CALL kiv_http_table_GetMethod(const kiv_http_table* table) KIV_NOEXCEPT {
  return get_text(table, &kiv_http_table::method);
}

int KIV_CALL kiv_http_table_SetMethod(kiv_http_table* table, const char* method) KIV_NOEXCEPT {
  return set_text(table, &kiv_http_table::method, method);
}

int KIV_CALL kiv_http_table_UnsetMethod(kiv_http_table* table) KIV_NOEXCEPT {
  return unset_text(table, &kiv_http_table::method);
}

const char* KIV_CALL kiv_http_table_GetRequest(const kiv_http_table* table) KIV_NOEXCEPT {
  return get_text(table, &kiv_http_table::request);
}

int KIV_CALL kiv_http_table_SetRequest(kiv_http_table* table, const char* request) KIV_NOEXCEPT {
  return set_text(table, &kiv_http_table::request, request);
}

int KIV_CALL kiv_http_table_UnsetRequest(kiv_http_table* table) KIV_NOEXCEPT {
  return unset_text(table, &kiv_http_table::request);
}

const char* KIV_CALL kiv_http_table_GetStatus(const kiv_http_table* table) KIV_NOEXCEPT {
  return get_text(table, &kiv_http_table::status);
}

int KIV_CALL kiv_http_table_SetStatus(kiv_http_table* table, const char* status_line) KIV_NOEXCEPT {
  if (table == nullptr || status_line == nullptr) return 0;
  return table->set_status(status_line, std::strlen(status_line)) ? 1 : 0;
}

int32_t KIV_CALL kiv_http_table_GetStatusValue(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? -1 : table->status_value;
}

int KIV_CALL kiv_http_table_UnsetStatus(kiv_http_table* table) KIV_NOEXCEPT {
  // deliberate: 0 and not the -1 of a new table; applications tell the two apart.
  if (table != nullptr) table->status_value = 0;
  return unset_text(table, &kiv_http_table::status);
}

const char* KIV_CALL kiv_http_table_GetField(const kiv_http_table* table,
                                             const char* name) KIV_NOEXCEPT {
  return table == nullptr || name == nullptr ? nullptr : table->field(name);
}

int KIV_CALL kiv_http_table_SetField(kiv_http_table* table, const char* name,
                                     const char* value) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr || value == nullptr) return 0;
  return table->set_field(name, value) ? 1 : 0;
}

int KIV_CALL kiv_http_table_UnsetField(kiv_http_table* table, const char* name) KIV_NOEXCEPT {
  Field* const field = table == nullptr || name == nullptr ? nullptr : table->find_field(name);
  if (field == nullptr) return 0;
  table->fields.remove(field);
  return 1;
}

int KIV_CALL kiv_http_table_ZeroField(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  table->fields.clear();
  return 1;
}

int KIV_CALL kiv_http_table_RewindField(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  table->fields.rewind();
  return 1;
}

int KIV_CALL kiv_http_table_GetNextField(kiv_http_table* table, const char** name,
                                         const char** value) KIV_NOEXCEPT {
  const Field* const field = table == nullptr ? nullptr : table->fields.next();
  if (field == nullptr) return 0;
  if (name != nullptr) *name = field->name.text;
  if (value != nullptr) *value = field->value.text;
  return 1;
}

const char* KIV_CALL kiv_http_table_GetForm(const kiv_http_table* table,
                                            const char* name) KIV_NOEXCEPT {
  const Form* const form = find_form(table, name);
  return form == nullptr ? nullptr : form->escaped.get();
}

const char* KIV_CALL kiv_http_table_GetFormRaw(const kiv_http_table* table,
                                               const char* name) KIV_NOEXCEPT {
  const Form* const form = find_form(table, name);
  return form == nullptr ? nullptr : form->raw.get();
}

int KIV_CALL kiv_http_table_SetForm(kiv_http_table* table, const char* name,
                                    const char* raw_value) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr || raw_value == nullptr) return 0;
  return table->set_form(name, raw_value) ? 1 : 0;
}

int KIV_CALL kiv_http_table_UnsetForm(kiv_http_table* table, const char* name) KIV_NOEXCEPT {
  Form* const form = find_form(table, name);
  if (form == nullptr) return 0;
  table->remove_form(form);
  return 1;
}

int KIV_CALL kiv_http_table_ZeroForm(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  table->clear_forms();
  return 1;
}

int KIV_CALL kiv_http_table_RewindForm(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  table->forms.rewind();
  return 1;
}

int KIV_CALL kiv_http_table_GetNextForm(kiv_http_table* table, const char** name,
                                        const char** escaped_value,
                                        const char** raw_value) KIV_NOEXCEPT {
  const Form* const form = table == nullptr ? nullptr : table->forms.next();
  if (form == nullptr) return 0;
  if (name != nullptr) *name = form->name.get();
  if (escaped_value != nullptr) *escaped_value = form->escaped.get();
  if (raw_value != nullptr) *raw_value = form->raw.get();
  return 1;
}

char* KIV_CALL kiv_http_table_GetHeaderStr(kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? nullptr : table->head_text().release();
}

char* KIV_CALL kiv_http_table_GetFormStr(kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? nullptr : table->form_text().release();
}

int32_t KIV_CALL kiv_http_table_GetFormStrLen(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? 0 : table->form_text_length();
}
