// Two stable merge sorts of the linked list. Both relink the nodes and allocate nothing.
#include "kiv_base/containers.h"

namespace {

// Merges two lists that are not empty; ties come from `a`.
zu_list* merge(zu_list* a, zu_list* b, zu_compare_fn compare) {
  zu_list* first = nullptr;
  zu_list** link = &first;
  zu_list* prev = nullptr;
  for (;;) {
    const bool from_b = compare(a->data, b->data) > 0;
    zu_list* node = from_b ? b : a;
    zu_list* next = node->next;
    *link = node;
    node->prev = prev;
    prev = node;
    link = &node->next;
    if (from_b) {
      b = next;
    } else {
      a = next;
    }
    if (!next) break;
  }
  zu_list* rest = a ? a : b;
  *link = rest;
  rest->prev = prev;
  return first;
}

// Sorts the `count` nodes from `*rest` on and moves `*rest` behind them. Counting spares the walk
// to the middle of every part. The links back come with the merges.
zu_list* sort_part(zu_list** rest, uint32_t count, zu_compare_fn compare) {
  if (count == 1) {
    zu_list* node = *rest;
    *rest = node->next;
    node->next = nullptr;
    return node;
  }
  zu_list* front = sort_part(rest, count / 2, compare);
  zu_list* back = sort_part(rest, count - count / 2, compare);
  return merge(front, back, compare);
}

// Cuts the list into its ascending runs. The runs are chained through the `prev` of their first
// nodes, which a first node has no other use for: so sorting never needs memory.
zu_list* cut_into_runs(zu_list* list, zu_compare_fn compare) {
  zu_list* run = list;
  for (zu_list* node = list; node->next;) {
    zu_list* next = node->next;
    if (compare(node->data, next->data) > 0) {
      node->next = nullptr;
      run->prev = next;
      run = next;
    }
    node = next;
  }
  run->prev = nullptr;
  return list;
}

// One pass over the chain of runs: merges them two by two; an odd last one stays as it is.
zu_list* merge_pairs(zu_list* runs, zu_compare_fn compare) {
  zu_list* first = nullptr;
  zu_list** link = &first;
  while (runs) {
    zu_list* front = runs;
    zu_list* back = front->prev;
    runs = back ? back->prev : nullptr;
    zu_list* merged = back ? merge(front, back, compare) : front;
    *link = merged;
    link = &merged->prev;
  }
  *link = nullptr;
  return first;
}

}  // namespace

zu_list* KIV_CALL zu_list_sort(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT {
  if (!list || !list->next || !compare) return list;
  return sort_part(&list, zu_list_length(list), compare);
}

zu_list* KIV_CALL zu_list_sort2(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT {
  if (!list || !compare) return list;
  zu_list* runs = cut_into_runs(list, compare);
  while (runs->prev) runs = merge_pairs(runs, compare);
  return runs;
}

zu_list* KIV_CALL zu_list_sort_merge(zu_list* list1, zu_list* list2,
                                     zu_compare_fn compare) KIV_NOEXCEPT {
  if (!compare) return list1;
  if (!list1 || !list2) return list1 ? list1 : list2;
  return merge(list1, list2, compare);
}
