// Containers when out of memory: an element is not stored, nothing is lost and nothing leaks.
#include <gtest/gtest.h>

#include "kiv_base/containers.h"
#include "tests/seams/heap_seam.h"

namespace {

using kiv::test::allocation_failed;

int one = 1, two = 2;

TEST(ContainerFailures, TablesAndTreesRejectTheEntry) {
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(10, [] {
    zu_ihash* numbers = zu_ihash_malloc(4);
    zu_shash* texts = zu_shash_malloc(4);
    zu_stree* tree = zu_stree_malloc();
    const int number = zu_ihash_insert(numbers, 1, &one), text = zu_shash_insert(texts, "a", &one);
    const int stored = zu_stree_insert(tree, "a", &one), updated = zu_stree_update(tree, "a", &two);
    void* value = nullptr;
    EXPECT_EQ(zu_ihash_find(numbers, 1, nullptr), number);
    EXPECT_EQ(zu_shash_find(texts, "a", nullptr), text);
    EXPECT_EQ(zu_stree_find(tree, "a", &value), stored);
    EXPECT_EQ(value, updated ? &two : stored ? &one : nullptr);
    zu_ihash_free(numbers);
    zu_shash_free(texts);
    zu_stree_free(tree);
  });
}

TEST(ContainerFailures, QueueAndStackCountWhatTheyCouldNotStore) {
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(6, [] {
    kiv_queue* queue = kiv_queue_make();
    kiv_stack* stack = kiv_stack_make();
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(kiv_queue_push(queue, &one), queue != nullptr);
      EXPECT_EQ(kiv_stack_push(stack, &one), stack != nullptr);
    }
    EXPECT_EQ(kiv_queue_nnodes(queue), queue ? 3 : 0) << "deliberate: stored or not";
    EXPECT_EQ(kiv_stack_nnodes(stack), stack ? 3 : 0);
    for (int i = 0; i < 4; ++i) kiv_queue_pop(queue), kiv_stack_pop(stack);
    EXPECT_EQ(kiv_queue_nnodes(queue) + kiv_stack_nnodes(stack), 0);
    kiv_queue_push(queue, &two);
    EXPECT_TRUE(kiv_queue_pop(queue) == &two || allocation_failed());
    kiv_queue_free(queue);
    kiv_stack_free(stack);
  });
}

}  // namespace
