// HTTP tables: their life, start line and entries.
#include "http/table.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"

static_assert(sizeof(kiv_http_status_lines) / sizeof(kiv_http_status_lines[0]) == 58);
static_assert(sizeof(void*) != 4 || (offsetof(kiv_http_table, status_value) == 8 &&
                                     offsetof(kiv_http_table, fields) == 20 &&
                                     offsetof(kiv_http_table, form_length) == 36));

namespace kiv::http {
namespace {

using base::Owned;

// One of a table's two lists with its cursor.
template <typename Entry>
struct Entries {
  zu_list*& first;
  std::int32_t& cursor;
  ListEnds& ends;

  static Entry* of(zu_list* node) { return static_cast<Entry*>(node->data); }

  bool append(Entry* entry) {
    zu_list* const before = ends.last;
    zu_list* const list = zu_list_append(before, entry);  // one step: it starts at the last node
    zu_list* const added = before == nullptr ? list : before->next;
    if (added == nullptr) return false;
    if (first == nullptr) first = added;
    ends.last = added;
    return true;
  }

  // Takes the node out; its entry is the caller's.
  Entry* remove(zu_list* node) {
    Entry* const entry = of(node);
    if (ends.last == node) ends.last = node->prev;
    ends.walked = nullptr;
    first = zu_list_delete_link_only(first, node);
    return entry;
  }

  // The entry at the cursor, which moves on; null at the end.
  Entry* next() {
    zu_list* const node = ends.walked != nullptr ? ends.walked->next : zu_list_nth(first, cursor);
    if (node == nullptr) return nullptr;
    ends.walked = node;
    ++cursor;
    return of(node);
  }

  void rewind() {
    cursor = 0;
    ends.walked = nullptr;
  }

  void clear(zu_release_fn release) {
    zu_list_free_all(first, release, nullptr);
    first = ends.last = nullptr;
    rewind();
  }
};

Entries<Field> fields_of(kiv_http_table& table) {
  return {table.fields, table.field_cursor, table.field_ends};
}

Entries<Form> forms_of(kiv_http_table& table) {
  return {table.forms, table.form_cursor, table.form_ends};
}

void KIV_CALL free_field(void* data, void*) {
  auto* field = static_cast<Field*>(data);
  if (field->value_apart) _zu_free(field->value);
  _zu_free(field);
}

void KIV_CALL free_form(void* data, void*) {
  auto* form = static_cast<Form*>(data);
  zu_url_escape_free(form->escaped);
  _zu_free(form->raw);
  _zu_free(form);
}

// Writes a text with its terminator and gives the place behind it.
char* put_text(char* to, const char* text, std::size_t length) {
  std::memcpy(to, text, length);
  to[length] = '\0';
  return to + length + 1;
}

zu_list* find_field(const kiv_http_table& table, const char* name) {
  zu_list* node = table.fields;
  while (node != nullptr && !same_name(Entries<Field>::of(node)->name, name)) node = node->next;
  return node;
}

zu_list* find_form(const kiv_http_table& table, const char* name) {
  zu_list* node = table.forms;
  while (node != nullptr && std::strcmp(Entries<Form>::of(node)->name, name) != 0) {
    node = node->next;
  }
  return node;
}

// The form length wraps rather than overflows: the setters' rule may drift it anywhere.
void add_form_length(kiv_http_table& table, std::size_t plus, std::size_t minus) {
  table.form_length = static_cast<std::int32_t>(static_cast<std::uint32_t>(table.form_length) +
                                                static_cast<std::uint32_t>(plus - minus));
}

// The caller's texts may be this very name and value, the one for the other too: the name is taken
// before the value goes, and a value that is the name before the name changes.
bool replace_value(Field& field, const char* name, const char* value) {
  const std::size_t length = std::strlen(value);
  const bool in_place = length <= std::strlen(field.value) && value != field.name;
  OwnedText copy = in_place ? OwnedText() : copy_text(value, length);
  if (!in_place && !copy) return false;
  std::memmove(field.name, name, std::strlen(field.name));
  if (in_place) {
    std::memmove(field.value, value, length + 1);
    return true;
  }
  if (field.value_apart) _zu_free(field.value);
  field.value = copy.release();
  field.value_apart = true;
  return true;
}

bool clone_entries(kiv_http_table& to, const kiv_http_table& from) {
  for (zu_list* node = from.fields; node != nullptr; node = node->next) {
    const Field& field = *Entries<Field>::of(node);
    if (!append_field(to, field.name, std::strlen(field.name), field.value,
                      std::strlen(field.value))) {
      return false;
    }
  }
  for (zu_list* node = from.forms; node != nullptr; node = node->next) {
    const Form& form = *Entries<Form>::of(node);
    if (!append_form(to, form.name, std::strlen(form.name),
                     OwnedText(zu_url_escape_malloc(form.raw, 0)),
                     copy_text(form.raw, std::strlen(form.raw)))) {
      return false;
    }
  }
  return true;
}

int set_text(char** slot, const char* text) {
  if (slot == nullptr || text == nullptr) return 0;
  return replace_text(*slot, text, std::strlen(text)) ? 1 : 0;
}

int unset_text(char** slot) {
  if (slot == nullptr) return 0;
  _zu_free(*slot);
  *slot = nullptr;
  return 1;
}

}  // namespace

bool same_name(const char* a, const char* b) noexcept {
  while (*a != '\0' && (*a == *b || base::to_lower(*a) == base::to_lower(*b))) ++a, ++b;
  return *a == *b;
}

bool replace_text(char*& slot, const char* text, std::size_t length) noexcept {
  OwnedText copy = copy_text(text, length);
  if (!copy) return false;
  _zu_free(slot);
  slot = copy.release();
  return true;
}

bool set_status(kiv_http_table& table, const char* line, std::size_t length) noexcept {
  if (!replace_text(table.status, line, length)) return false;
  table.status_value = leading_int32(table.status);
  return true;
}

bool append_field(kiv_http_table& table, const char* name, std::size_t name_length,
                  const char* value, std::size_t value_length) noexcept {
  const std::size_t size = sizeof(Field) + name_length + value_length + 2;
  auto block = OwnedText::allocate(size);
  if (!block) return false;
  auto* field = reinterpret_cast<Field*>(block.get());
  field->name = block.get() + sizeof(Field);
  field->value = put_text(field->name, name, name_length);
  put_text(field->value, value, value_length);
  field->value_apart = false;
  if (!fields_of(table).append(field)) return false;
  (void)block.release();
  return true;
}

bool append_form(kiv_http_table& table, const char* name, std::size_t name_length,
                 OwnedText escaped, OwnedText raw) noexcept {
  auto block = OwnedText::allocate(sizeof(Form) + name_length + 1);
  if (!block || !escaped || !raw) return false;
  auto* form = reinterpret_cast<Form*>(block.get());
  form->name = block.get() + sizeof(Form);
  put_text(form->name, name, name_length);
  form->escaped = escaped.get();
  form->raw = raw.get();
  if (!forms_of(table).append(form)) return false;
  add_form_length(table, name_length + std::strlen(form->escaped) + 2, 0);
  (void)escaped.release();
  (void)raw.release();
  (void)block.release();
  return true;
}

}  // namespace kiv::http

using namespace kiv::http;

kiv_http_table* KIV_CALL kiv_http_table_make() KIV_NOEXCEPT {
  auto table = Owned<kiv_http_table>::allocate_zeroed();
  if (table) table->status_value = -1;
  return table.release();
}

void KIV_CALL kiv_http_table_free(kiv_http_table* table) KIV_NOEXCEPT {
  kiv_http_table_clean(table);
  _zu_free(table);
}

void KIV_CALL kiv_http_table_clean(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return;
  for (char** text : {&table->method, &table->version, &table->status, &table->request}) {
    unset_text(text);
  }
  kiv_http_table_ZeroField(table);
  kiv_http_table_ZeroForm(table);
  table->status_value = -1;
}

kiv_http_table* KIV_CALL kiv_http_table_clone(const kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return nullptr;
  OwnedTable copy(kiv_http_table_make());
  // deliberate: the version stays behind; a clone is written as the default version.
  const bool done =
      copy != nullptr &&
      (table->method == nullptr || set_text(&copy->method, table->method) == 1) &&
      (table->request == nullptr || set_text(&copy->request, table->request) == 1) &&
      (table->status == nullptr || kiv_http_table_SetStatus(copy.get(), table->status) == 1) &&
      clone_entries(*copy, *table);
  return done ? copy.release() : nullptr;
}

const char* KIV_CALL kiv_http_table_GetMethod(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? nullptr : table->method;
}

int KIV_CALL kiv_http_table_SetMethod(kiv_http_table* table, const char* method) KIV_NOEXCEPT {
  return set_text(table == nullptr ? nullptr : &table->method, method);
}

int KIV_CALL kiv_http_table_UnsetMethod(kiv_http_table* table) KIV_NOEXCEPT {
  return unset_text(table == nullptr ? nullptr : &table->method);
}

const char* KIV_CALL kiv_http_table_GetRequest(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? nullptr : table->request;
}

int KIV_CALL kiv_http_table_SetRequest(kiv_http_table* table, const char* request) KIV_NOEXCEPT {
  return set_text(table == nullptr ? nullptr : &table->request, request);
}

int KIV_CALL kiv_http_table_UnsetRequest(kiv_http_table* table) KIV_NOEXCEPT {
  return unset_text(table == nullptr ? nullptr : &table->request);
}

const char* KIV_CALL kiv_http_table_GetStatus(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? nullptr : table->status;
}

int KIV_CALL kiv_http_table_SetStatus(kiv_http_table* table, const char* status_line) KIV_NOEXCEPT {
  if (table == nullptr || status_line == nullptr) return 0;
  return set_status(*table, status_line, std::strlen(status_line)) ? 1 : 0;
}

int32_t KIV_CALL kiv_http_table_GetStatusValue(const kiv_http_table* table) KIV_NOEXCEPT {
  return table == nullptr ? -1 : table->status_value;
}

int KIV_CALL kiv_http_table_UnsetStatus(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  // deliberate: 0 and not the -1 of a new table; applications tell the two apart.
  table->status_value = 0;
  return unset_text(&table->status);
}

const char* KIV_CALL kiv_http_table_GetField(const kiv_http_table* table,
                                             const char* name) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr) return nullptr;
  zu_list* const node = find_field(*table, name);
  return node == nullptr ? nullptr : Entries<Field>::of(node)->value;
}

int KIV_CALL kiv_http_table_SetField(kiv_http_table* table, const char* name,
                                     const char* value) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr || value == nullptr) return 0;
  zu_list* const node = find_field(*table, name);
  const bool done = node != nullptr
                        ? replace_value(*Entries<Field>::of(node), name, value)
                        : append_field(*table, name, std::strlen(name), value, std::strlen(value));
  return done ? 1 : 0;
}

int KIV_CALL kiv_http_table_UnsetField(kiv_http_table* table, const char* name) KIV_NOEXCEPT {
  zu_list* const node = table == nullptr || name == nullptr ? nullptr : find_field(*table, name);
  if (node == nullptr) return 0;
  free_field(fields_of(*table).remove(node), nullptr);
  return 1;
}

int KIV_CALL kiv_http_table_ZeroField(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  fields_of(*table).clear(free_field);
  return 1;
}

int KIV_CALL kiv_http_table_RewindField(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  fields_of(*table).rewind();
  return 1;
}

int KIV_CALL kiv_http_table_GetNextField(kiv_http_table* table, const char** name,
                                         const char** value) KIV_NOEXCEPT {
  const Field* const field = table == nullptr ? nullptr : fields_of(*table).next();
  if (field == nullptr) return 0;
  if (name != nullptr) *name = field->name;
  if (value != nullptr) *value = field->value;
  return 1;
}

const char* KIV_CALL kiv_http_table_GetForm(const kiv_http_table* table,
                                            const char* name) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr) return nullptr;
  zu_list* const node = find_form(*table, name);
  return node == nullptr ? nullptr : Entries<Form>::of(node)->escaped;
}

const char* KIV_CALL kiv_http_table_GetFormRaw(const kiv_http_table* table,
                                               const char* name) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr) return nullptr;
  zu_list* const node = find_form(*table, name);
  return node == nullptr ? nullptr : Entries<Form>::of(node)->raw;
}

int KIV_CALL kiv_http_table_SetForm(kiv_http_table* table, const char* name,
                                    const char* raw_value) KIV_NOEXCEPT {
  if (table == nullptr || name == nullptr || raw_value == nullptr) return 0;
  OwnedText escaped(zu_url_escape_malloc(raw_value, 0));
  OwnedText raw = copy_text(raw_value, std::strlen(raw_value));
  if (!escaped || !raw) return 0;
  zu_list* const node = find_form(*table, name);
  if (node == nullptr) {
    return append_form(*table, name, std::strlen(name), std::move(escaped), std::move(raw)) ? 1 : 0;
  }
  Form& form = *Entries<Form>::of(node);
  // deliberate: the old value's length is not taken off; the form text is then refused as too
  // short or long, which applications see as "unset before you set again".
  add_form_length(*table, std::strlen(escaped.get()), std::strlen(raw.get()));
  _zu_free(form.escaped);
  _zu_free(form.raw);
  form.escaped = escaped.release();
  form.raw = raw.release();
  return 1;
}

int KIV_CALL kiv_http_table_UnsetForm(kiv_http_table* table, const char* name) KIV_NOEXCEPT {
  zu_list* const node = table == nullptr || name == nullptr ? nullptr : find_form(*table, name);
  if (node == nullptr) return 0;
  Form* const form = forms_of(*table).remove(node);
  add_form_length(*table, 0, std::strlen(form->name) + std::strlen(form->escaped) + 2);
  free_form(form, nullptr);
  return 1;
}

int KIV_CALL kiv_http_table_ZeroForm(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  forms_of(*table).clear(free_form);
  table->form_length = 0;
  return 1;
}

int KIV_CALL kiv_http_table_RewindForm(kiv_http_table* table) KIV_NOEXCEPT {
  if (table == nullptr) return 0;
  forms_of(*table).rewind();
  return 1;
}

int KIV_CALL kiv_http_table_GetNextForm(kiv_http_table* table, const char** name,
                                        const char** escaped_value,
                                        const char** raw_value) KIV_NOEXCEPT {
  const Form* const form = table == nullptr ? nullptr : forms_of(*table).next();
  if (form == nullptr) return 0;
  if (name != nullptr) *name = form->name;
  if (escaped_value != nullptr) *escaped_value = form->escaped;
  if (raw_value != nullptr) *raw_value = form->raw;
  return 1;
}
