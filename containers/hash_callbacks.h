// What the exported functions of the three hash families share: callbacks, and arguments and
// outputs that may be NULL.
#pragma once

#include "containers/hash_core.h"

namespace kiv::containers {

template <typename Table>
void free_table(Table* table, zu_release_fn release, void* user) {
  if (!table) return;
  table->dispose([&](void* value) {
    if (release) release(value, user);
  });
  give_back_storage(table->pool, table);
}

template <typename Node>
int found(const Node* node, void** value) {
  if (!node) return 0;
  if (value) *value = node->value;
  return 1;
}

template <typename Nodes>
int find_value(const Nodes& nodes, zu_test_fn test, void* user, void** value) {
  for (auto& node : nodes) {
    if (!test || test(node.value, user) == 1) return found(&node, value);
  }
  return 0;
}

template <typename Nodes>
void visit_values(const Nodes& nodes, zu_visit_fn visit, void* user) {
  for (auto& node : nodes) visit(node.value, user);
}

}  // namespace kiv::containers
