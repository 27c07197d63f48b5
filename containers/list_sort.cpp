// Two stable merge sorts of the linked list. Both relink the nodes and allocate nothing.
#include <cstddef>

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

// Sorts the `count` nodes from `*rest` on and moves `*rest` after them. Counting avoids the walk
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

// Cuts the ascending run off that `*rest` begins with.
zu_list* take_run(zu_list** rest, zu_compare_fn compare) {
  zu_list* run = *rest;
  zu_list* last = run;
  while (last->next && compare(last->data, last->next->data) <= 0) last = last->next;
  *rest = last->next;
  last->next = nullptr;
  return run;
}

// Sorted lists on their way to one. Like the digits of a binary number, the list in place i is
// made of 2^i runs or missing, and older runs lie higher: merging neighbours soon after they were
// cut finds them in the cache.
class MergeCounter {
 public:
  explicit MergeCounter(zu_compare_fn compare) : compare_(compare) {}

  void add(zu_list* run) {
    int place = 0;
    for (; lists_[place]; lists_[place++] = nullptr) run = merge(lists_[place], run, compare_);
    lists_[place] = run;
  }

  zu_list* sum() const {
    zu_list* sorted = nullptr;
    for (zu_list* older : lists_) {
      if (older) sorted = sorted ? merge(older, sorted, compare_) : older;
    }
    return sorted;
  }

 private:
  zu_compare_fn compare_;
  zu_list* lists_[sizeof(std::size_t) * 8] = {};  // more runs than memory holds
};

}  // namespace

zu_list* KIV_CALL zu_list_sort(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT {
  if (!list || !list->next || !compare) return list;
  return sort_part(&list, zu_list_length(list), compare);
}

zu_list* KIV_CALL zu_list_sort2(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT {
  if (!list || !compare) return list;
  MergeCounter runs(compare);
  for (zu_list* rest = list; rest;) runs.add(take_run(&rest, compare));
  return runs.sum();
}

zu_list* KIV_CALL zu_list_sort_merge(zu_list* list1, zu_list* list2,
                                     zu_compare_fn compare) KIV_NOEXCEPT {
  if (!compare) return list1;
  if (!list1 || !list2) return list1 ? list1 : list2;
  return merge(list1, list2, compare);
}
