// Tables: their life, their start lines and entries.
#include "http/table.h"

#include <cstring>
#include <new>
#include <utility>

#include "base/ascii.h"

namespace kiv::http {
namespace {

// The caller's strings may be this very name and value, the one for the other too: the name is
// taken before the value goes, and a value that is the name before the name changes.
bool replace_value(Field& field, const char* name, const char* value) {
  const std::size_t length = std::strlen(value);
  char* const old_name = field.name.text;
  const bool in_place = length <= std::strlen(field.value.text) && value != old_name;
  OwnedText copy = in_place ? OwnedText() : copy_text(value, length);
  if (!in_place && !copy) return false;
  std::memmove(old_name, name, std::strlen(old_name));
  if (in_place) {
    std::memmove(field.value.text, value, length + 1);
    return true;
  }
  field.value.text = copy.get();
  field.value.own = std::move(copy);
  return true;
}

OwnedText copy_text(const OwnedText& text) {
  return http::copy_text(text.get(), std::strlen(text.get()));
}

bool set(TableText& to, const TableText& from) {
  return from.text == nullptr || to.set(from.text, std::strlen(from.text));
}

}  // namespace

bool TableText::set(const char* from, std::size_t length) noexcept {
  OwnedText copy = copy_text(from, length);
  if (!copy) return false;
  text = copy.get();
  own = std::move(copy);
  return true;
}

bool same_name(const char* a, const char* b) noexcept {
  while (*a != '\0' && (*a == *b || base::to_lower(*a) == base::to_lower(*b))) ++a, ++b;
  return *a == *b;
}

OwnedTable make_table() noexcept {
  return OwnedTable(base::make<kiv_http_table>().release());
}

OwnedTable clone(const kiv_http_table& table) noexcept {
  OwnedTable copy = make_table();
  // deliberate: the version stays behind; a clone is written as the default version.
  if (copy == nullptr || !set(copy->method, table.method) || !set(copy->request, table.request)) {
    return nullptr;
  }
  const char* const status = table.status.text;
  if (status != nullptr && !copy->set_status(status, std::strlen(status))) return nullptr;
  for (const Field& field : table.fields) {
    if (!copy->append_field(field.name.text, field.value.text)) return nullptr;
  }
  for (const Form& form : table.forms) {
    OwnedText escaped(zu_url_escape_malloc(form.raw.get(), 0));
    if (!copy->append_form({copy_text(form.name), std::move(escaped), copy_text(form.raw)})) {
      return nullptr;
    }
  }
  return copy;
}

}  // namespace kiv::http

using namespace kiv::http;

void kiv_http_table::clear() noexcept {
  for (TableText* text : {&method, &version, &status, &request}) text->reset();
  status_value = -1;
  fields.clear();
  clear_forms();
  head.reset();
}

bool kiv_http_table::set_status(const char* line, std::size_t length) noexcept {
  if (!status.set(line, length)) return false;
  status_value = leading_int32(status.text);
  return true;
}

Field* kiv_http_table::find_field(const char* name) const noexcept {
  Field* const found = std::find_if(fields.begin(), fields.end(), [name](const Field& field) {
    return same_name(field.name.text, name);
  });
  return found == fields.end() ? nullptr : found;
}

Form* kiv_http_table::find_form(const char* name) const noexcept {
  Form* const found = std::find_if(forms.begin(), forms.end(), [name](const Form& form) {
    return std::strcmp(form.name.get(), name) == 0;
  });
  return found == forms.end() ? nullptr : found;
}

const char* kiv_http_table::field(const char* name) const noexcept {
  const Field* const found = find_field(name);
  return found == nullptr ? nullptr : found->value.text;
}

bool kiv_http_table::set_field(const char* name, const char* value) noexcept {
  Field* const found = find_field(name);
  return found != nullptr ? replace_value(*found, name, value) : append_field(name, value);
}

bool kiv_http_table::append_field(const char* name, const char* value) noexcept {
  Field field;
  if (!field.name.set(name, std::strlen(name)) || !field.value.set(value, std::strlen(value))) {
    return false;
  }
  Field* const added = fields.add();
  if (added == nullptr) return false;
  *added = std::move(field);
  return true;
}

bool kiv_http_table::set_form(const char* name, const char* raw_value) noexcept {
  OwnedText escaped(zu_url_escape_malloc(raw_value, 0));
  OwnedText raw = kiv::http::copy_text(raw_value, std::strlen(raw_value));
  if (!escaped || !raw) return false;
  Form* const found = find_form(name);
  if (found == nullptr) {
    OwnedText copy = kiv::http::copy_text(name, std::strlen(name));
    return append_form({std::move(copy), std::move(escaped), std::move(raw)});
  }
  // deliberate: the old value's length is not taken off; the form text is then refused as too
  // short or long, which applications see as "unset before you set again".
  add_form_length(std::strlen(escaped.get()), std::strlen(raw.get()));
  found->escaped = std::move(escaped);
  found->raw = std::move(raw);
  return true;
}

bool kiv_http_table::append_form(Form form) noexcept {
  Form* const added = form.name && form.escaped && form.raw ? forms.add() : nullptr;
  if (added == nullptr) return false;
  *added = std::move(form);
  add_form_length(std::strlen(added->name.get()) + std::strlen(added->escaped.get()) + 2, 0);
  return true;
}

void kiv_http_table::remove_form(Form* form) noexcept {
  add_form_length(0, std::strlen(form->name.get()) + std::strlen(form->escaped.get()) + 2);
  forms.remove(form);
}

void kiv_http_table::clear_forms() noexcept {
  forms.clear();
  form_length = 0;
}

// It wraps rather than overflows: the setters' rule may drift it anywhere.
void kiv_http_table::add_form_length(std::size_t plus, std::size_t minus) noexcept {
  form_length = static_cast<std::int32_t>(static_cast<std::uint32_t>(form_length) +
                                          static_cast<std::uint32_t>(plus - minus));
}

std::int32_t kiv_http_table::form_text_length() const noexcept {
  if (forms.is_empty()) return 0;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(form_length) - 1U);
}
