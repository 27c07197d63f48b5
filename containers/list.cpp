// The doubly linked list; a list is the pointer to its first node.
#include "base/layout.h"
#include "base/owned.h"
#include "kiv_base/containers.h"

#include <cstddef>
#include <cstdio>

namespace {

KIV_LAYOUT(zu_list, 12, data, 8);

zu_list* new_node(void* data) {
  return kiv::base::make<zu_list>(nullptr, nullptr, data).release();
}

void link_before(zu_list* position, zu_list* node) {
  node->prev = position->prev;
  node->next = position;
  if (position->prev) position->prev->next = node;
  position->prev = node;
}

void link_after(zu_list* last, zu_list* node) {
  node->prev = last;
  node->next = nullptr;
  last->next = node;
}

// Takes a node out of its list, whose first node it gives. The node's own links stay.
zu_list* unlink(zu_list* list, zu_list* node) {
  if (node->prev) node->prev->next = node->next;
  if (node->next) node->next->prev = node->prev;
  return node == list ? node->next : list;
}

zu_list* discard(zu_list* list, zu_list* node, zu_release_fn release, void* user) {
  if (!node) return list;
  list = unlink(list, node);
  if (release) release(node->data, user);
  kiv::base::destroy(node);
  return list;
}

// The node before which `data` belongs; NULL for after the last one, which `last` then names.
// deliberate: a new element goes before its equals, not after them; callers rely on newest first.
zu_list* sorted_position(zu_list* list, const void* data, zu_compare_fn compare, zu_list** last) {
  for (zu_list* node = list;; node = node->next) {
    if (compare(data, node->data) <= 0) return node;
    if (!node->next) {
      *last = node;
      return nullptr;
    }
  }
}

}  // namespace

zu_list* KIV_CALL zu_list_new(void) KIV_NOEXCEPT {
  return new_node(nullptr);
}

zu_list* KIV_CALL zu_list_append(zu_list* list, void* data) KIV_NOEXCEPT {
  zu_list* node = new_node(data);
  if (!node) return list;
  if (!list) return node;
  link_after(zu_list_last(list), node);
  return list;
}

zu_list* KIV_CALL zu_list_insert_last(zu_list* list, void* data) KIV_NOEXCEPT {
  return zu_list_append(list, data);
}

zu_list* KIV_CALL zu_list_prepend(zu_list* node, void* data) KIV_NOEXCEPT {
  zu_list* added = new_node(data);
  if (!added) return node;
  if (node) link_before(node, added);
  return added;
}

zu_list* KIV_CALL zu_list_insert_first(zu_list* node, void* data) KIV_NOEXCEPT {
  return zu_list_prepend(zu_list_first(node), data);
}

zu_list* KIV_CALL zu_list_insert(zu_list* list, void* data, int32_t position) KIV_NOEXCEPT {
  if (position == 0) return zu_list_prepend(list, data);
  zu_list* at = position < 0 ? nullptr : zu_list_nth(list, position);
  if (!at) return zu_list_append(list, data);
  zu_list_prepend(at, data);
  return list;
}

zu_list* KIV_CALL zu_list_insert_sorted(zu_list* list, void* data,
                                        zu_compare_fn compare) KIV_NOEXCEPT {
  if (!compare) return list;
  zu_list* node = new_node(data);
  return node ? zu_list_insert_link_sorted(list, node, compare) : list;
}

zu_list* KIV_CALL zu_list_insert_link_sorted(zu_list* list, zu_list* node,
                                             zu_compare_fn compare) KIV_NOEXCEPT {
  if (!compare || !node) return list;
  if (!list) return node;
  zu_list* last = nullptr;
  if (zu_list* position = sorted_position(list, node->data, compare, &last)) {
    link_before(position, node);
    return position == list ? node : list;
  }
  link_after(last, node);
  return list;
}

zu_list* KIV_CALL zu_list_first(zu_list* node) KIV_NOEXCEPT {
  while (node && node->prev) node = node->prev;
  return node;
}

zu_list* KIV_CALL zu_list_last(zu_list* node) KIV_NOEXCEPT {
  while (node && node->next) node = node->next;
  return node;
}

zu_list* KIV_CALL zu_list_nth(zu_list* list, int32_t n) KIV_NOEXCEPT {
  for (; list && n > 0; --n) list = list->next;
  return list;
}

zu_list* KIV_CALL zu_list_nth_prev(zu_list* node, int32_t n) KIV_NOEXCEPT {
  for (; node && n > 0; --n) node = node->prev;
  return node;
}

void* KIV_CALL zu_list_nth_data(zu_list* list, int32_t n) KIV_NOEXCEPT {
  zu_list* node = zu_list_nth(list, n);
  return node ? node->data : nullptr;
}

uint32_t KIV_CALL zu_list_length(zu_list* list) KIV_NOEXCEPT {
  uint32_t length = 0;
  for (; list; list = list->next) ++length;
  return length;
}

zu_list* KIV_CALL zu_list_find(zu_list* list, const void* data) KIV_NOEXCEPT {
  while (list && list->data != data) list = list->next;
  return list;
}

zu_list* KIV_CALL zu_list_find_custom(zu_list* list, zu_test_fn test, void* user) KIV_NOEXCEPT {
  while (list && test && test(list->data, user) != 1) list = list->next;
  return list;
}

int32_t KIV_CALL zu_list_position(zu_list* list, const zu_list* node) KIV_NOEXCEPT {
  int32_t position = 0;
  for (; list && list != node; list = list->next) ++position;
  return list ? position : -1;
}

int32_t KIV_CALL zu_list_index(zu_list* list, const void* data) KIV_NOEXCEPT {
  int32_t position = 0;
  for (; list && list->data != data; list = list->next) ++position;
  return list ? position : -1;
}

zu_list* KIV_CALL zu_list_copy(zu_list* list) KIV_NOEXCEPT {
  zu_list* copy = nullptr;
  for (zu_list* last = nullptr; list; list = list->next) {
    zu_list* node = new_node(list->data);
    if (!node) break;
    if (last) {
      link_after(last, node);
    } else {
      copy = node;
    }
    last = node;
  }
  return copy;
}

zu_list* KIV_CALL zu_list_reverse(zu_list* list) KIV_NOEXCEPT {
  zu_list* first = nullptr;
  while (list) {
    first = list;
    list = first->next;
    first->next = first->prev;
    first->prev = list;
  }
  return first;
}

zu_list* KIV_CALL zu_list_concat(zu_list* list1, zu_list* list2) KIV_NOEXCEPT {
  zu_list* last = zu_list_last(list1);
  if (list2) list2->prev = last;
  if (!last) return list2;
  if (list2) last->next = list2;
  return list1;
}

void KIV_CALL zu_list_foreach(zu_list* list, zu_visit_fn visit, void* user) KIV_NOEXCEPT {
  while (list && visit) {
    zu_list* next = list->next;  // the callback may delete this element
    visit(list->data, user);
    list = next;
  }
}

void KIV_CALL zu_list_foreach_if(zu_list* list, zu_test_fn test, void* user) KIV_NOEXCEPT {
  while (list && test) {
    zu_list* next = list->next;
    if (test(list->data, user) == 1) return;
    list = next;
  }
}

zu_list* KIV_CALL zu_list_remove(zu_list* list, const void* data, zu_release_fn release,
                                 void* user) KIV_NOEXCEPT {
  return discard(list, zu_list_find(list, data), release, user);
}

zu_list* KIV_CALL zu_list_nth_remove(zu_list* list, int32_t n, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT {
  return discard(list, zu_list_nth(list, n), release, user);
}

zu_list* KIV_CALL zu_list_remove_all(zu_list* list, const void* data, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT {
  for (zu_list* node = list; node;) {
    zu_list* next = node->next;
    if (node->data == data) list = discard(list, node, release, user);
    node = next;
  }
  return list;
}

zu_list* KIV_CALL zu_list_remove_link_only(zu_list* list, zu_list* node) KIV_NOEXCEPT {
  if (!node) return list;
  list = unlink(list, node);
  node->prev = node->next = nullptr;
  return list;
}

zu_list* KIV_CALL zu_list_delete_link_only(zu_list* list, zu_list* node) KIV_NOEXCEPT {
  return discard(list, node, nullptr, nullptr);
}

void KIV_CALL zu_list_free_all(zu_list* node, zu_release_fn release, void* user) KIV_NOEXCEPT {
  node = zu_list_first(node);
  while (node) {
    zu_list* next = node->next;
    if (release) release(node->data, user);
    kiv::base::destroy(node);
    node = next;
  }
}

void KIV_CALL zu_list_destroy_all(zu_list* node, zu_release_fn release, void* user) KIV_NOEXCEPT {
  zu_list_free_all(node, release, user);
}

void KIV_CALL zu_list_print(zu_list* list, zu_visit_fn visit) KIV_NOEXCEPT {
  std::printf("list information below:\n");
  std::printf("list length: %d\n", static_cast<int>(zu_list_length(list)));
  zu_list_foreach(list, visit, nullptr);
}
