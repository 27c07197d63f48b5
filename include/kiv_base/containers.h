/* Containers of untyped values: linked list, hash tables, balanced trees,
 * queue and stack, and a byte FIFO.
 *
 *     zu_list* list = NULL;
 *     list = zu_list_append(list, item);      every change hands back the first node: store it
 *     zu_list_destroy_all(list, NULL, NULL);
 *
 *     zu_ihash* table = zu_ihash_malloc(1024);
 *     zu_ihash_insert(table, id, item);
 *     if (zu_ihash_find(table, id, &found)) use(found);
 *     zu_ihash_free(table);
 *
 * Nothing here is locked: one thread at a time uses a container. Nothing here owns the values it
 * stores; functions that discard elements take a release callback for that.
 *
 * A callback gets the caller's `user` unchanged as its last argument and may be NULL where the
 * contract says so. While a list or a hash table is being visited, the callback may delete the
 * element it was given and no other; while a tree is being visited it changes nothing.
 *
 * Tables and trees take their header, nodes and key copies from a memory pool (zu_mem_init) when
 * they are made with one, else from the heap. A pool aligns nothing, so these records lie at any
 * address. They are declared packed for that reason: read members by value and take no member's
 * address.
 */
#ifndef KIV_BASE_CONTAINERS_H
#define KIV_BASE_CONTAINERS_H

#include "kiv_base/export.h"

/* Sees one value. */
typedef void(KIV_CALL* zu_visit_fn)(void* data, void* user);

/* Takes leave of a value that a removal or a destruction discards. */
typedef void(KIV_CALL* zu_release_fn)(void* data, void* user);

/* Tests one value: 1, and only 1, means match or stop. */
typedef int(KIV_CALL* zu_test_fn)(void* data, void* user);

/* Orders two values: negative, zero or positive as `a` sorts before, with or after `b`. */
typedef int(KIV_CALL* zu_compare_fn)(const void* a, const void* b);

/* ---- linked list ------------------------------------------------------------------------- */

/* A list is the pointer to its first node, and NULL is the empty list. Positions count from 0.
 * "Gives the list" means the first node after the change; the caller stores it back. An insertion
 * without memory gives the list unchanged and says nothing: the element is then not stored.
 */
typedef struct zu_list {
  struct zu_list* prev; /* NULL in the first node */
  struct zu_list* next; /* NULL in the last node */
  void* data;
} zu_list;

/* Makes one node with all members NULL; NULL without memory. */
KIV_API zu_list* KIV_CALL zu_list_new(void) KIV_NOEXCEPT;

/* Adds a node at the end, which it walks to, and gives the list. Who builds a long list prepends
 * or keeps the last node: that node, given as the list, is appended to at once.
 */
KIV_API zu_list* KIV_CALL zu_list_append(zu_list* list, void* data) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_insert_last(zu_list* list, void* data) KIV_NOEXCEPT;

/* Adds a node right before `node`, behind its predecessor, and gives the new node; `node` itself
 * without memory.
 */
KIV_API zu_list* KIV_CALL zu_list_prepend(zu_list* node, void* data) KIV_NOEXCEPT;

/* Adds a node before the first one, walked to from any node, and gives the new first node. */
KIV_API zu_list* KIV_CALL zu_list_insert_first(zu_list* node, void* data) KIV_NOEXCEPT;

/* Adds a node at `position` and gives the list; a negative position or one past the end appends. */
KIV_API zu_list* KIV_CALL zu_list_insert(zu_list* list, void* data, int32_t position) KIV_NOEXCEPT;

/* Adds to a sorted list, before all elements that compare equal, and gives the list. Without
 * `compare` the list is left as it is. The `link` form links the caller's node instead of a new
 * one; an empty list then gives `node` untouched.
 */
KIV_API zu_list* KIV_CALL zu_list_insert_sorted(zu_list* list, void* data,
                                                zu_compare_fn compare) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_insert_link_sorted(zu_list* list, zu_list* node,
                                                     zu_compare_fn compare) KIV_NOEXCEPT;

/* The first or last node of the list that `node` is in; NULL for NULL. */
KIV_API zu_list* KIV_CALL zu_list_first(zu_list* node) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_last(zu_list* node) KIV_NOEXCEPT;

/* The node `n` steps after (before, for _prev) the given one; NULL when the list ends first, the
 * given node when n is below 1.
 */
KIV_API zu_list* KIV_CALL zu_list_nth(zu_list* list, int32_t n) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_nth_prev(zu_list* node, int32_t n) KIV_NOEXCEPT;

/* The data of the node that zu_list_nth gives; NULL when there is none. */
KIV_API void* KIV_CALL zu_list_nth_data(zu_list* list, int32_t n) KIV_NOEXCEPT;

/* The number of nodes from `list` on. */
KIV_API uint32_t KIV_CALL zu_list_length(zu_list* list) KIV_NOEXCEPT;

/* The first node that holds this very data; NULL when there is none. */
KIV_API zu_list* KIV_CALL zu_list_find(zu_list* list, const void* data) KIV_NOEXCEPT;

/* The first node whose data passes the test; NULL when none does, `list` without a test. */
KIV_API zu_list* KIV_CALL zu_list_find_custom(zu_list* list, zu_test_fn test,
                                              void* user) KIV_NOEXCEPT;

/* The position of a node, or of the first node with this data; -1 when it is not in the list. */
KIV_API int32_t KIV_CALL zu_list_position(zu_list* list, const zu_list* node) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_list_index(zu_list* list, const void* data) KIV_NOEXCEPT;

/* A new list of the same data; cut short where memory ran out. */
KIV_API zu_list* KIV_CALL zu_list_copy(zu_list* list) KIV_NOEXCEPT;

/* Turns the list around and gives its new first node. */
KIV_API zu_list* KIV_CALL zu_list_reverse(zu_list* list) KIV_NOEXCEPT;

/* Links the second list after the first and gives the list. */
KIV_API zu_list* KIV_CALL zu_list_concat(zu_list* list1, zu_list* list2) KIV_NOEXCEPT;

/* Visits the data from first to last; the _if form stops after the first test that gives 1. */
KIV_API void KIV_CALL zu_list_foreach(zu_list* list, zu_visit_fn visit, void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_list_foreach_if(zu_list* list, zu_test_fn test, void* user) KIV_NOEXCEPT;

/* Unlinks and frees the first node with this data (the node that zu_list_nth gives, every node with
 * this data), after `release` has seen its data, and gives the list. `release` may be NULL.
 */
KIV_API zu_list* KIV_CALL zu_list_remove(zu_list* list, const void* data, zu_release_fn release,
                                         void* user) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_nth_remove(zu_list* list, int32_t n, zu_release_fn release,
                                             void* user) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_remove_all(zu_list* list, const void* data, zu_release_fn release,
                                             void* user) KIV_NOEXCEPT;

/* Unlinks a node of this list and gives the list. _remove_ clears the node's links and leaves it
 * to the caller; _delete_ frees it.
 */
KIV_API zu_list* KIV_CALL zu_list_remove_link_only(zu_list* list, zu_list* node) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_delete_link_only(zu_list* list, zu_list* node) KIV_NOEXCEPT;

/* Frees the whole list that `node` is in, first node first, each after `release` (or NULL) has
 * seen its data. The two names are one function.
 */
KIV_API void KIV_CALL zu_list_free_all(zu_list* node, zu_release_fn release,
                                       void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_list_destroy_all(zu_list* node, zu_release_fn release,
                                          void* user) KIV_NOEXCEPT;

/* Sorts by relinking the nodes and gives the list. Both are stable merge sorts that allocate
 * nothing: zu_list_sort halves, zu_list_sort2 starts from the ascending runs that it finds, which
 * makes it one pass over a sorted list. Without `compare` the list is left as it is.
 */
KIV_API zu_list* KIV_CALL zu_list_sort(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_sort2(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT;

/* Merges two sorted lists into one and gives it; ties come from list1 first. Without `compare` it
 * gives list1.
 */
KIV_API zu_list* KIV_CALL zu_list_sort_merge(zu_list* list1, zu_list* list2,
                                             zu_compare_fn compare) KIV_NOEXCEPT;

/* Prints a title and the length to standard output, then visits the data with NULL as `user`. */
KIV_API void KIV_CALL zu_list_print(zu_list* list, zu_visit_fn visit) KIV_NOEXCEPT;

/* ---- hash tables ------------------------------------------------------------------------- */

/* Three tables of one design: a fixed number of buckets, each a chain with the newest entry in
 * front. They never grow, so choose the count for the expected number of entries; look-ups are
 * linear in the length of a chain. The hash functions are simple and known: do not index text that
 * comes from a peer in a small table.
 *
 * An insertion never looks for the key. The newest entry of a key shadows the older ones until it
 * is deleted.
 */
#pragma pack(push, 1)

typedef struct zu_ihash_node {
  struct zu_ihash_node* prev;
  struct zu_ihash_node* next;
  int32_t key;
  void* value;
} zu_ihash_node;

typedef struct zu_i64hash_node {
  struct zu_i64hash_node* prev;
  struct zu_i64hash_node* next;
  int64_t key;
  void* value;
  int32_t padding; /* 24 bytes under every 32-bit ABI */
} zu_i64hash_node;

typedef struct zu_shash_node {
  struct zu_shash_node* prev;
  struct zu_shash_node* next;
  char* key; /* the table's copy, with a terminating zero behind its bytes */
  int32_t key_length;
  void* value;
} zu_shash_node;

/* The header of zu_ihash and zu_shash tables. */
typedef struct zu_ihash {
  void** buckets;       /* the first node of each chain, NULL for an empty one */
  int32_t owns_buckets; /* 1: the array is freed with the table; 0: it is the caller's */
  int32_t bucket_count;
  int32_t node_count;
  void* pool;          /* NULL: the heap */
  int32_t iter_bucket; /* the iteration stands in this chain, */
  int32_t iter_pos;    /* after this many of its nodes */
} zu_ihash;

typedef zu_ihash zu_shash;

typedef struct zu_i64hash {
  void** buckets;
  int32_t owns_buckets;
  int64_t bucket_count;
  int64_t node_count;
  void* pool;
  int32_t padding; /* the members below keep their place under every 32-bit ABI */
  int64_t iter_bucket;
  int64_t iter_pos;
} zu_i64hash;

#pragma pack(pop)

/* Makes a table over the caller's array of `count` buckets, which it clears and never frees.
 * Header and entries come from `pool`, or from the heap when it is NULL. NULL for a NULL array, a
 * count below 1 or no memory.
 */
KIV_API zu_ihash* KIV_CALL zu_ihash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT;
KIV_API zu_i64hash* KIV_CALL zu_i64hash_mallocx(void** buckets, int64_t count,
                                                void* pool) KIV_NOEXCEPT;
KIV_API zu_shash* KIV_CALL zu_shash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT;

/* Makes a table on the heap with an array of its own; NULL for a count below 1 or no memory. */
KIV_API zu_ihash* KIV_CALL zu_ihash_malloc(int32_t count) KIV_NOEXCEPT;
KIV_API zu_i64hash* KIV_CALL zu_i64hash_malloc(int64_t count) KIV_NOEXCEPT;
KIV_API zu_shash* KIV_CALL zu_shash_malloc(int32_t count) KIV_NOEXCEPT;

/* Frees the table and its entries; a caller's bucket array is left, cleared. The x form calls
 * `release`, unless NULL, on every stored value.
 */
KIV_API void KIV_CALL zu_ihash_freex(zu_ihash* table, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_freex(zu_i64hash* table, zu_release_fn release,
                                       void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_freex(zu_shash* table, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_ihash_free(zu_ihash* table) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_free(zu_i64hash* table) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_free(zu_shash* table) KIV_NOEXCEPT;

/* Adds an entry in front of its chain, whether or not the key is there: 1, or 0 for a NULL table
 * or no memory. A text table copies the key; it also gives 0 for a NULL key or a negative length.
 * Here and below, a plain text form takes a zero-terminated key, an x form any `length` bytes.
 */
KIV_API int KIV_CALL zu_ihash_insert(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_insert(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_insertx(zu_shash* table, const void* key, int32_t length,
                                      void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_insert(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT;

/* Sets the value of the newest entry with this key; an absent key is not inserted. */
KIV_API void KIV_CALL zu_ihash_update(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_update(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_updatex(zu_shash* table, const void* key, int32_t length,
                                       void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_update(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT;

/* Looks the newest entry with this key up: 1 and its value, or 0. `value` may be NULL. */
KIV_API int KIV_CALL zu_ihash_find(zu_ihash* table, int32_t key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_find(zu_i64hash* table, int64_t key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_findx(zu_shash* table, const void* key, int32_t length,
                                    void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_find(zu_shash* table, const char* key, void** value) KIV_NOEXCEPT;

/* Removes the newest entry with this key, if any; its value is left alone. */
KIV_API void KIV_CALL zu_ihash_delete(zu_ihash* table, int32_t key) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_delete(zu_i64hash* table, int64_t key) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_deletex(zu_shash* table, const void* key,
                                       int32_t length) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_delete(zu_shash* table, const char* key) KIV_NOEXCEPT;

/* Tests the values of the key's chain, newest first, until one passes: 1 and that value, or 0.
 * Keys are not compared: entries of other keys that share the chain are tested as well. Without a
 * test the chain's first value is taken. `value` may be NULL.
 */
KIV_API int KIV_CALL zu_ihash_findx(zu_ihash* table, int32_t key, zu_test_fn test, void* user,
                                    void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_findx(zu_i64hash* table, int64_t key, zu_test_fn test, void* user,
                                      void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_findxx(zu_shash* table, const void* key, int32_t length,
                                     zu_test_fn test, void* user, void** value) KIV_NOEXCEPT;

/* Removes the first entry of the key's chain with this value; keys are not compared. */
KIV_API void KIV_CALL zu_ihash_deletex(zu_ihash* table, int32_t key,
                                       const void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_deletex(zu_i64hash* table, int64_t key,
                                         const void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_deletexx(zu_shash* table, const void* key, int32_t length,
                                        const void* value) KIV_NOEXCEPT;

/* Visits every value, bucket by bucket, each chain from its newest entry. */
KIV_API void KIV_CALL zu_ihash_foreach(zu_ihash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_foreach(zu_i64hash* table, zu_visit_fn visit,
                                         void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_foreach(zu_shash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT;

/* Visits every value of the key's chain; keys are not compared. */
KIV_API void KIV_CALL zu_ihash_foreachx(zu_ihash* table, int32_t key, zu_visit_fn visit,
                                        void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_foreachx(zu_i64hash* table, int64_t key, zu_visit_fn visit,
                                          void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_foreach_line(zu_shash* table, const void* key, int32_t length,
                                            zu_visit_fn visit, void* user) KIV_NOEXCEPT;

/* Iterates with the table's one cursor: 1 and an entry, or 0 at the end. First starts over, Next
 * goes on. A change to the table in between may skip or repeat entries. Each output may be NULL; a
 * text key is the table's own copy, good until its entry goes.
 */
KIV_API int KIV_CALL zu_ihash_GetFirst(zu_ihash* table, int32_t* key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_ihash_GetNext(zu_ihash* table, int32_t* key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_GetFirst(zu_i64hash* table, int64_t* key,
                                         void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_GetNext(zu_i64hash* table, int64_t* key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_GetFirstx(zu_shash* table, const char** key, int32_t* length,
                                        void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_GetNextx(zu_shash* table, const char** key, int32_t* length,
                                       void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_GetFirst(zu_shash* table, const char** key,
                                       void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_GetNext(zu_shash* table, const char** key, void** value) KIV_NOEXCEPT;

/* Sets the cursor back to the start and gives the table. */
KIV_API zu_ihash* KIV_CALL zu_ihash_rewind(zu_ihash* table) KIV_NOEXCEPT;
KIV_API zu_i64hash* KIV_CALL zu_i64hash_rewind(zu_i64hash* table) KIV_NOEXCEPT;
KIV_API zu_shash* KIV_CALL zu_shash_rewind(zu_shash* table) KIV_NOEXCEPT;

/* The number of stored entries, shadowed ones included. */
KIV_API int32_t KIV_CALL zu_ihash_nnodes(zu_ihash* table) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_i64hash_nnodes(zu_i64hash* table) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_shash_nnodes(zu_shash* table) KIV_NOEXCEPT;

/* ---- balanced trees ---------------------------------------------------------------------- */

/* An ordered map as a threaded AVL tree: zu_xtree over any keys, zu_itree over 32-bit integers,
 * zu_stree over texts that it copies. The last two are zu_xtrees with a comparison of their own.
 */

/* Compares a stored key with the probe, in this order: negative when the probe sorts before the
 * stored key, zero when they are equal, positive when it sorts after.
 */
typedef int(KIV_CALL* zu_key_compare_fn)(const void* node_key, const void* probe, void* data);

/* Sees one entry; what its result means stands with the function that calls it. */
typedef int(KIV_CALL* zu_entry_fn)(void* key, void* value, void* user);

#pragma pack(push, 1)

/* Where a child flag is 0 the pointer is a thread: `left` leads to the entry before, `right` to
 * the entry after, NULL at the two ends.
 */
typedef struct zu_xtree_node {
  void* key; /* in a zu_itree the key itself, sign-extended */
  void* value;
  struct zu_xtree_node* left;
  struct zu_xtree_node* right;
  int8_t balance; /* height on the right minus height on the left */
  uint8_t left_child;
  uint8_t right_child;
  uint8_t padding;
} zu_xtree_node;

typedef struct zu_xtree {
  void* pool; /* NULL: the heap */
  zu_xtree_node* root;
  int32_t nnodes;
  zu_key_compare_fn key_compare;
  void* key_compare_data;
  zu_release_fn key_destroy; /* NULL: keys are left alone */
  void* key_destroy_data;
  zu_release_fn value_destroy; /* NULL: values are left alone */
  void* value_destroy_data;
} zu_xtree;

#pragma pack(pop)

typedef zu_xtree zu_itree;
typedef zu_xtree zu_stree;

/* The orders of zu_xtree_traverse. */
enum {
  ZU_TRAVERSE_IN_ORDER = 0,
  ZU_TRAVERSE_PRE_ORDER = 1,
  ZU_TRAVERSE_POST_ORDER = 2,
  ZU_TRAVERSE_LEVEL_ORDER = 3
};

/* Makes an empty tree; NULL without `key_compare` or memory. The full form takes header and nodes
 * from `pool` unless it is NULL, and calls the destroy callbacks, where set, on each key and value
 * that leaves the tree.
 */
KIV_API zu_xtree* KIV_CALL zu_xtree_new_full(void* pool, zu_key_compare_fn key_compare,
                                             void* key_compare_data, zu_release_fn key_destroy,
                                             void* key_destroy_data, zu_release_fn value_destroy,
                                             void* value_destroy_data) KIV_NOEXCEPT;
KIV_API zu_xtree* KIV_CALL zu_xtree_new(zu_key_compare_fn key_compare) KIV_NOEXCEPT;
KIV_API zu_xtree* KIV_CALL zu_xtree_new_with_data(zu_key_compare_fn key_compare,
                                                  void* key_compare_data) KIV_NOEXCEPT;

/* Frees the tree and, in order, its entries, each after the destroy callbacks. */
KIV_API void KIV_CALL zu_xtree_destroy(zu_xtree* tree) KIV_NOEXCEPT;

/* Stores an entry: 1, or 0 for a NULL tree or no memory. When the key is there already, _insert
 * keeps the stored key, destroys the one given and the old value; _replace destroys the stored key
 * and value and stores both anew.
 */
KIV_API int KIV_CALL zu_xtree_insert(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_xtree_replace(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT;

/* Removes an entry: 1, or 0 when it is not there. _steal calls no destroy callback. */
KIV_API int KIV_CALL zu_xtree_delete(zu_xtree* tree, const void* key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_xtree_steal(zu_xtree* tree, const void* key) KIV_NOEXCEPT;

/* The value of a key; NULL when it is not there. The x form tells 1 or 0 and gives the stored key
 * and the value through its outputs, each of which may be NULL.
 */
KIV_API void* KIV_CALL zu_xtree_find(zu_xtree* tree, const void* key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_xtree_findx(zu_xtree* tree, const void* key, void** stored_key,
                                    void** value) KIV_NOEXCEPT;

/* Descends by search(stored key, NULL, user): 0 means found, negative goes left, positive right.
 * Gives the value found, or NULL.
 */
KIV_API void* KIV_CALL zu_xtree_search(zu_xtree* tree, zu_key_compare_fn search,
                                       void* user) KIV_NOEXCEPT;

/* Calls visit(key, value, user) in key order until it gives 1. Gives its last result, 0 for an
 * empty tree.
 */
KIV_API int KIV_CALL zu_xtree_foreach(zu_xtree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT;

/* Calls visit(key, value, user) in the given order. In-order and pre-order walks stop at the first
 * result other than 0 and give it, else 0. A post-order walk stops at a result above 0 and gives
 * it, else the result for the root. Level order is not implemented and prints so; any other order
 * does nothing.
 */
KIV_API int KIV_CALL zu_xtree_traverse(zu_xtree* tree, zu_entry_fn visit, int32_t order,
                                       void* user) KIV_NOEXCEPT;

/* The number of levels, 0 for an empty tree. */
KIV_API int32_t KIV_CALL zu_xtree_height(zu_xtree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_itree_height(zu_itree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_stree_height(zu_stree* tree) KIV_NOEXCEPT;

/* The number of entries. */
KIV_API int32_t KIV_CALL zu_xtree_nnodes(zu_xtree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_itree_nnodes(zu_itree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_stree_nnodes(zu_stree* tree) KIV_NOEXCEPT;

/* Makes an empty tree, on the heap or, in the x form, in a pool; NULL without memory. Integer keys
 * compare by their wrapped 32-bit difference, so keys of one tree lie less than 2^31 apart. Texts
 * compare by unsigned bytes up to the terminator.
 */
KIV_API zu_itree* KIV_CALL zu_itree_mallocx(void* pool) KIV_NOEXCEPT;
KIV_API zu_itree* KIV_CALL zu_itree_malloc(void) KIV_NOEXCEPT;
KIV_API zu_stree* KIV_CALL zu_stree_mallocx(void* pool) KIV_NOEXCEPT;
KIV_API zu_stree* KIV_CALL zu_stree_malloc(void) KIV_NOEXCEPT;

/* Stores an entry as zu_xtree_insert does. Texts are copied and at least one byte long: 0 for NULL
 * or an empty key. The x form takes the first `length` bytes.
 */
KIV_API int KIV_CALL zu_itree_insert(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_insertx(zu_stree* tree, const void* key, int32_t length,
                                      void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_insert(zu_stree* tree, const char* key, void* value) KIV_NOEXCEPT;

/* Sets the value of a key: 1, or 0 when it is not there (or there is no memory for a new copy of
 * its text).
 */
KIV_API int KIV_CALL zu_itree_update(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_update(zu_stree* tree, const char* key, void* value) KIV_NOEXCEPT;

/* Looks a key up: 1 and its value, or 0. `value` may be NULL. */
KIV_API int KIV_CALL zu_itree_find(zu_itree* tree, int32_t key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_find(zu_stree* tree, const char* key, void** value) KIV_NOEXCEPT;

/* Removes an entry: 1, or 0 when it is not there. The x form first hands the value to `release`
 * unless that is NULL.
 */
KIV_API int KIV_CALL zu_itree_deletex(zu_itree* tree, int32_t key, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_deletex(zu_stree* tree, const char* key, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_itree_delete(zu_itree* tree, int32_t key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_delete(zu_stree* tree, const char* key) KIV_NOEXCEPT;

/* Visits every value in key order; gives 0. */
KIV_API int KIV_CALL zu_itree_foreach(zu_itree* tree, zu_visit_fn visit, void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_foreach(zu_stree* tree, zu_visit_fn visit, void* user) KIV_NOEXCEPT;

/* Tests the values in key order until one passes. Gives the last result, 0 for an empty tree;
 * without a test, 1 as soon as there is an entry.
 */
KIV_API int KIV_CALL zu_itree_foreach_if(zu_itree* tree, zu_test_fn test, void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_foreach_if(zu_stree* tree, zu_test_fn test, void* user) KIV_NOEXCEPT;

/* As zu_xtree_foreach. An integer key comes as (void*)(intptr_t)key. */
KIV_API int KIV_CALL zu_itree_traverse(zu_itree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_traverse(zu_stree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT;

/* Frees the tree and its entries. The x form first hands every value, in order, to `release`
 * unless that is NULL.
 */
KIV_API void KIV_CALL zu_itree_freex(zu_itree* tree, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_stree_freex(zu_stree* tree, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_itree_free(zu_itree* tree) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_stree_free(zu_stree* tree) KIV_NOEXCEPT;

/* ---- queue and stack --------------------------------------------------------------------- */

/* First in, first out; and last in, first out. Both count their elements and reach their ends in
 * constant time. A record is all zero when it is made.
 */
typedef struct kiv_queue {
  zu_list* head; /* the oldest element */
  zu_list* tail; /* the newest one's node */
  int32_t count;
} kiv_queue;

typedef struct kiv_stack {
  zu_list* top; /* the newest element */
  int32_t count;
} kiv_stack;

/* Makes an empty one; NULL without memory. */
KIV_API kiv_queue* KIV_CALL kiv_queue_make(void) KIV_NOEXCEPT;
KIV_API kiv_stack* KIV_CALL kiv_stack_make(void) KIV_NOEXCEPT;

/* Adds an element: 1, or 0 for NULL. Without memory for its node the element is counted and 1
 * given all the same, but it is not stored; the count stays too high until pops bring it down.
 */
KIV_API int KIV_CALL kiv_queue_push(kiv_queue* queue, void* data) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_stack_push(kiv_stack* stack, void* data) KIV_NOEXCEPT;

/* Takes the next element and gives its value; NULL when there is none, as for a stored NULL. */
KIV_API void* KIV_CALL kiv_queue_pop(kiv_queue* queue) KIV_NOEXCEPT;
KIV_API void* KIV_CALL kiv_stack_pop(kiv_stack* stack) KIV_NOEXCEPT;

/* The value that `index` further pops would come to, which stays; NULL when there is none. */
KIV_API void* KIV_CALL kivx_queue_peek(kiv_queue* queue, int32_t index) KIV_NOEXCEPT;
KIV_API void* KIV_CALL kivx_stack_peek(kiv_stack* stack, int32_t index) KIV_NOEXCEPT;

/* Visits every value in the order of pops. */
KIV_API void KIV_CALL kivx_queue_foreach(kiv_queue* queue, zu_visit_fn visit,
                                         void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL kivx_stack_foreach(kiv_stack* stack, zu_visit_fn visit,
                                         void* user) KIV_NOEXCEPT;

/* Frees it with its nodes; the kivx_ forms release each value first, in the order of pops.
 * `release` may be NULL, and so may the record.
 */
KIV_API void KIV_CALL kiv_queue_free(kiv_queue* queue) KIV_NOEXCEPT;
KIV_API void KIV_CALL kivx_queue_free(kiv_queue* queue, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_stack_free(kiv_stack* stack) KIV_NOEXCEPT;
KIV_API void KIV_CALL kivx_stack_free(kiv_stack* stack, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;

/* The number of elements; 0 for NULL. */
KIV_API int32_t KIV_CALL kiv_queue_nnodes(kiv_queue* queue) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_stack_nnodes(kiv_stack* stack) KIV_NOEXCEPT;

/* ---- jitter buffer ----------------------------------------------------------------------- */

/* A byte FIFO between pieces of one size that come in and pieces of another that go out: a list of
 * ring blocks of one capacity, newest last. Blocks are added as bytes arrive and freed as soon as
 * they are drained, so that the memory held follows the backlog.
 */
typedef struct zu_jitter_block {
  uint8_t* data; /* the ring */
  int32_t length;
  int32_t capacity;
  int32_t write_pos;
  int32_t read_pos; /* the oldest byte */
} zu_jitter_block;

typedef struct zu_jitter {
  zu_list* blocks; /* oldest first; the data of each node is a block */
  zu_list* last;   /* where writes go */
  int32_t block_size;
  int32_t block_count;
  int32_t max_blocks;
  int32_t length;
  void* user_data;
} zu_jitter;

/* Makes a block for `capacity` bytes; NULL for a capacity below 1 or no memory. */
KIV_API zu_jitter_block* KIV_CALL _zu_jitter_block_new(int32_t capacity) KIV_NOEXCEPT;
KIV_API void KIV_CALL _zu_jitter_block_free(zu_jitter_block* block) KIV_NOEXCEPT;

/* Drops the stored bytes. */
KIV_API void KIV_CALL _zu_jitter_block_reset(zu_jitter_block* block) KIV_NOEXCEPT;

/* Stores all the bytes or, when they do not fit, none: 1 or 0. A count below 1 stores nothing and
 * gives 1.
 */
KIV_API int KIV_CALL _zu_jitter_block_SetData(zu_jitter_block* block, const void* data,
                                              int32_t count) KIV_NOEXCEPT;

/* Takes (Peek: copies) up to `count` of the oldest bytes and gives their number. A NULL
 * destination discards them.
 */
KIV_API int32_t KIV_CALL _zu_jitter_block_GetData(zu_jitter_block* block, void* destination,
                                                  int32_t count) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL _zu_jitter_block_PeekData(zu_jitter_block* block, void* destination,
                                                   int32_t count) KIV_NOEXCEPT;

/* Copies the bytes from `start` up to `end`, counted from the oldest, and gives their number:
 * end - start, at most the length. That number is not cut at the last byte: what lies beyond it
 * comes from the ring as it stands, zero where nothing was ever written (a jitter buffer does not
 * clear its own blocks). 0 for a NULL destination, an empty range, a negative start or one past the
 * stored bytes.
 */
KIV_API int32_t KIV_CALL _zu_jitter_block_PeekData_ext(zu_jitter_block* block, void* destination,
                                                       int32_t start, int32_t end) KIV_NOEXCEPT;

/* Finds the end of the oldest zero-terminated packet: 1, or 0 when no zero byte is stored. Its
 * length counts the whole run of zeros behind it, the terminator length that run alone. Either
 * output may be NULL.
 */
KIV_API int KIV_CALL _zu_jitter_block_CalPacketLen(zu_jitter_block* block, int32_t* packet_length,
                                                   int32_t* terminator_length) KIV_NOEXCEPT;

/* The number of stored bytes, and of bytes that still fit. */
KIV_API int32_t KIV_CALL _zu_jitter_block_GetLen(zu_jitter_block* block) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL _zu_jitter_block_GetAvailableLen(zu_jitter_block* block) KIV_NOEXCEPT;

/* Sets a caller's record up as an empty buffer: 1, or 0 for NULL or a size or number below 1. */
KIV_API int KIV_CALL zu_jitter_init(zu_jitter* jitter, int32_t block_size, int32_t max_blocks,
                                    void* user_data) KIV_NOEXCEPT;

/* Makes an empty buffer; the plain form with 100000 blocks of 16384 bytes. NULL for a size or
 * number below 1 or no memory.
 */
KIV_API zu_jitter* KIV_CALL zu_jitter_mallocx(int32_t block_size, int32_t max_blocks,
                                              void* user_data) KIV_NOEXCEPT;
KIV_API zu_jitter* KIV_CALL zu_jitter_malloc(void) KIV_NOEXCEPT;

/* Drops the stored bytes and frees every block; the buffer stays good. _destroy is the same, for a
 * record that zu_jitter_init set up.
 */
KIV_API void KIV_CALL zu_jitter_empty(zu_jitter* jitter) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_jitter_destroy(zu_jitter* jitter) KIV_NOEXCEPT;

/* Destroys the buffer and frees its record. */
KIV_API void KIV_CALL zu_jitter_free(zu_jitter* jitter) KIV_NOEXCEPT;

/* Stores as many of the bytes as fit and gives their number: fewer than `count` when no further
 * block may be added or allocated. 0 for NULL arguments or a count below 1.
 */
KIV_API int32_t KIV_CALL zu_jitter_SetData(zu_jitter* jitter, const void* data,
                                           int32_t count) KIV_NOEXCEPT;

/* Takes up to `count` of the oldest bytes and gives their number. A NULL destination discards
 * them.
 */
KIV_API int32_t KIV_CALL zu_jitter_GetData(zu_jitter* jitter, void* destination,
                                           int32_t count) KIV_NOEXCEPT;

/* Copies up to `count` bytes, from the oldest on or from `offset` bytes after it, and gives their
 * number. 0 for a NULL destination, a count below 1 or an offset outside the stored bytes.
 */
KIV_API int32_t KIV_CALL zu_jitter_PeekData(zu_jitter* jitter, void* destination,
                                            int32_t count) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_jitter_PeekDatax(zu_jitter* jitter, void* destination, int32_t offset,
                                             int32_t count) KIV_NOEXCEPT;

/* The number of stored bytes, and of bytes that the limits still leave room for. The room counts
 * whole blocks: with a half-read oldest block a little less can be stored. Both sums stop at
 * INT32_MAX.
 */
KIV_API int32_t KIV_CALL zu_jitter_GetLen(zu_jitter* jitter) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_jitter_GetAvailableLen(zu_jitter* jitter) KIV_NOEXCEPT;

/* The owner's value. _Set gives the buffer back. */
KIV_API void* KIV_CALL zu_jitter_GetUserData(zu_jitter* jitter) KIV_NOEXCEPT;
KIV_API zu_jitter* KIV_CALL zu_jitter_SetUserData(zu_jitter* jitter, void* user_data) KIV_NOEXCEPT;

#endif
