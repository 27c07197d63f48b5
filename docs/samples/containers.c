/* A list, a hash table, a tree, a queue and a jitter buffer. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static int KIV_CALL compare_texts(const void* a, const void* b) {
  return strcmp((const char*)a, (const char*)b);
}

static void KIV_CALL print_text(void* data, void* user) {
  printf("%s%s", (const char*)data, (const char*)user);
}

static void KIV_CALL free_text(void* data, void* user) {
  (void)user;
  _zu_free(data);
}

/* The list is the pointer to its first node: store what every change gives. */
static void sort_a_list(void) {
  static char blank[] = " ";
  zu_list* list = NULL;
  list = zu_list_append(list, zu_strdup("pear"));
  list = zu_list_append(list, zu_strdup("apple"));
  list = zu_list_append(list, zu_strdup("quince"));
  list = zu_list_sort(list, compare_texts);
  printf("list: ");
  zu_list_foreach(list, print_text, blank);
  printf("(%u)\n", (unsigned)zu_list_length(list));
  zu_list_destroy_all(list, free_text, NULL);
}

/* The newest entry of a key shadows the others until it is deleted. */
static void look_up(void) {
  static char old_value[] = "old", new_value[] = "new";
  zu_ihash* const table = zu_ihash_malloc(64);
  void* value = NULL;
  zu_ihash_insert(table, 7, old_value);
  zu_ihash_insert(table, 7, new_value);
  if (zu_ihash_find(table, 7, &value)) printf("table: %s", (const char*)value);
  zu_ihash_delete(table, 7);
  if (zu_ihash_find(table, 7, &value)) printf(", then %s", (const char*)value);
  printf("; 8 is there: %d\n", zu_ihash_find(table, 8, NULL));
  zu_ihash_free(table);
}

static int KIV_CALL print_entry(void* key, void* value, void* user) {
  (void)user;
  printf(" %s=%s", (const char*)key, (const char*)value);
  return 0; /* 1 would end the walk */
}

/* In the order of the keys, which the tree copies. */
static void walk_a_tree(void) {
  static char one[] = "1", two[] = "2", three[] = "3";
  zu_stree* const tree = zu_stree_malloc();
  zu_stree_insert(tree, "gamma", three);
  zu_stree_insert(tree, "alpha", one);
  zu_stree_insert(tree, "beta", two);
  printf("tree:");
  zu_stree_traverse(tree, print_entry, NULL);
  printf("\n");
  zu_stree_free(tree);
}

static void queue_up(void) {
  static char first[] = "first", second[] = "second";
  kiv_queue* const queue = kiv_queue_make();
  kiv_queue_push(queue, first);
  kiv_queue_push(queue, second);
  printf("queue: %s", (const char*)kiv_queue_pop(queue));
  printf(", %d left\n", (int)kiv_queue_nnodes(queue));
  kiv_queue_free(queue);
}

/* Bytes in by pieces of one size, out by pieces of another. */
static void buffer_bytes(void) {
  char piece[8];
  int32_t length;
  zu_jitter* const buffer = zu_jitter_malloc();
  zu_jitter_SetData(buffer, "one piece, ", 11);
  zu_jitter_SetData(buffer, "another", 7);
  printf("jitter buffer: %d bytes:", (int)zu_jitter_GetLen(buffer));
  while ((length = zu_jitter_GetData(buffer, piece, (int32_t)sizeof piece)) > 0) {
    printf(" [%.*s]", (int)length, piece);
  }
  printf("\n");
  zu_jitter_free(buffer);
}

int main(void) {
  sort_a_list();
  look_up();
  walk_a_tree();
  queue_up();
  buffer_bytes();
  return 0;
}
