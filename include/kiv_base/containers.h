/* Containers of untyped values: linked list, hash tables, balanced trees, queue and stack,
 * and a byte FIFO.
 *
 *     zu_list* list = NULL;
 *     list = zu_list_append(list, item);      // a change returns the first node: store it
 *     zu_list_destroy_all(list, NULL, NULL);
 *
 *     zu_ihash* table = zu_ihash_malloc(1024);
 *     zu_ihash_insert(table, id, item);
 *     if (zu_ihash_find(table, id, &found)) use(found);
 *     zu_ihash_free(table);
 *
 * Nothing here is locked: use a container from one thread at a time. A container does not own the
 * values that it stores; functions that discard elements take a release callback for that.
 *
 * A callback gets the caller's `user` unchanged as its last argument, and may be NULL where the
 * contract says so. While a list or a hash table is being traversed, the callback may delete
 * the element that it was given and no other; while a tree is being traversed, it must not
 * change the tree.
 *
 * Tables and trees allocate their header, nodes and key copies from a memory pool (zu_mem_init) if
 * they were created with one, else from the heap. A pool does not align, so these records may lie
 * at any address. They are declared packed for that reason: read members by value, and do not take
 * a member's address. */
#ifndef KIV_BASE_CONTAINERS_H
#define KIV_BASE_CONTAINERS_H

#include "kiv_base/export.h"

/* Receives one value. */
typedef void(KIV_CALL* zu_visit_fn)(void* data, void* user);

/* Called once for each removed or destroyed value so that it can be released. */
typedef void(KIV_CALL* zu_release_fn)(void* data, void* user);

/* Tests one value: 1, and only 1, means match or stop. */
typedef int(KIV_CALL* zu_test_fn)(void* data, void* user);

/* Orders two values: returns a negative number, 0 or a positive number if `a` sorts before, equal
 * to or after `b`. */
typedef int(KIV_CALL* zu_compare_fn)(const void* a, const void* b);

/* ---- linked list ------------------------------------------------------------------------- */

/* A list is the pointer to its first node; NULL is the empty list. Positions count from 0.
 * "Returns the list" means: returns the first node after the change, which the caller stores. An
 * insertion that is out of memory returns the list unchanged, without any other sign: the element
 * is then not stored. */
typedef struct zu_list {
  struct zu_list* prev; /* NULL in the first node */
  struct zu_list* next; /* NULL in the last node */
  void* data;
} zu_list;

/* Allocates one node with all members NULL. Returns NULL if out of memory. */
KIV_API zu_list* KIV_CALL zu_list_new(void) KIV_NOEXCEPT;

/* Adds a node at the end, which is found by walking the list, and returns the list. To build a long
 * list, prepend, or keep the last node: appending to that node takes constant time. */
KIV_API zu_list* KIV_CALL zu_list_append(zu_list* list, void* data) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_insert_last(zu_list* list, void* data) KIV_NOEXCEPT;

/* Adds a node directly before `node`, after its predecessor. Returns the new node, or `node` if out
 * of memory. */
KIV_API zu_list* KIV_CALL zu_list_prepend(zu_list* node, void* data) KIV_NOEXCEPT;

/* Adds a node before the first one, which is reached from any node. Returns the new first node. */
KIV_API zu_list* KIV_CALL zu_list_insert_first(zu_list* node, void* data) KIV_NOEXCEPT;

/* Adds a node at `position` and returns the list; a negative position, or one past the end,
 * appends. */
KIV_API zu_list* KIV_CALL zu_list_insert(zu_list* list, void* data, int32_t position) KIV_NOEXCEPT;

/* Adds to a sorted list, before all elements that compare equal, and returns the list. Without
 * `compare` the list is left unchanged. The `link` form links the caller's node instead of a new
 * one; for an empty list it then returns `node` untouched. */
KIV_API zu_list* KIV_CALL zu_list_insert_sorted(zu_list* list, void* data,
                                                zu_compare_fn compare) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_insert_link_sorted(zu_list* list, zu_list* node,
                                                     zu_compare_fn compare) KIV_NOEXCEPT;

/* Returns the first or last node of the list that contains `node`; NULL for NULL. */
KIV_API zu_list* KIV_CALL zu_list_first(zu_list* node) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_last(zu_list* node) KIV_NOEXCEPT;

/* Returns the node `n` steps after (for _prev: before) the given one; NULL if the list ends first,
 * and the given node if n is below 1. */
KIV_API zu_list* KIV_CALL zu_list_nth(zu_list* list, int32_t n) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_nth_prev(zu_list* node, int32_t n) KIV_NOEXCEPT;

/* Returns the data of the node that zu_list_nth returns; NULL if there is none. */
KIV_API void* KIV_CALL zu_list_nth_data(zu_list* list, int32_t n) KIV_NOEXCEPT;

/* Returns the number of nodes from `list` onwards. */
KIV_API uint32_t KIV_CALL zu_list_length(zu_list* list) KIV_NOEXCEPT;

/* Returns the first node that holds exactly this data pointer; NULL if there is none. */
KIV_API zu_list* KIV_CALL zu_list_find(zu_list* list, const void* data) KIV_NOEXCEPT;

/* Returns the first node whose data passes the test; NULL if none does, and `list` without a
 * test. */
KIV_API zu_list* KIV_CALL zu_list_find_custom(zu_list* list, zu_test_fn test,
                                              void* user) KIV_NOEXCEPT;

/* Returns the position of a node, or of the first node with this data; -1 if it is not in the
 * list. */
KIV_API int32_t KIV_CALL zu_list_position(zu_list* list, const zu_list* node) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_list_index(zu_list* list, const void* data) KIV_NOEXCEPT;

/* Returns a newly allocated list of the same data, truncated if out of memory. */
KIV_API zu_list* KIV_CALL zu_list_copy(zu_list* list) KIV_NOEXCEPT;

/* Reverses the list and returns its new first node. */
KIV_API zu_list* KIV_CALL zu_list_reverse(zu_list* list) KIV_NOEXCEPT;

/* Links the second list after the first and returns the list. */
KIV_API zu_list* KIV_CALL zu_list_concat(zu_list* list1, zu_list* list2) KIV_NOEXCEPT;

/* Calls `visit` for the data from first to last; the _if form stops after the first test that
 * returns 1. */
KIV_API void KIV_CALL zu_list_foreach(zu_list* list, zu_visit_fn visit, void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_list_foreach_if(zu_list* list, zu_test_fn test, void* user) KIV_NOEXCEPT;

/* Unlinks and frees the first node with this data (the node that zu_list_nth returns; every
 * node with this data), after calling `release` for its data, and returns the list. `release`
 * may be NULL. */
KIV_API zu_list* KIV_CALL zu_list_remove(zu_list* list, const void* data, zu_release_fn release,
                                         void* user) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_nth_remove(zu_list* list, int32_t n, zu_release_fn release,
                                             void* user) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_remove_all(zu_list* list, const void* data, zu_release_fn release,
                                             void* user) KIV_NOEXCEPT;

/* Unlinks a node of this list and returns the list. _remove_ clears the node's links and leaves the
 * node to the caller; _delete_ frees it. */
KIV_API zu_list* KIV_CALL zu_list_remove_link_only(zu_list* list, zu_list* node) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_delete_link_only(zu_list* list, zu_list* node) KIV_NOEXCEPT;

/* Frees the whole list that contains `node`, first node first, each after calling `release` (unless
 * NULL) for its data. Both names are the same function. */
KIV_API void KIV_CALL zu_list_free_all(zu_list* node, zu_release_fn release,
                                       void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_list_destroy_all(zu_list* node, zu_release_fn release,
                                          void* user) KIV_NOEXCEPT;

/* Sorts by relinking the nodes and returns the list. Both are stable merge sorts that allocate
 * nothing: zu_list_sort halves the list; zu_list_sort2 starts from the ascending runs that it
 * finds, so that it takes linear time on a sorted list. Without `compare` the list is left
 * unchanged. */
KIV_API zu_list* KIV_CALL zu_list_sort(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT;
KIV_API zu_list* KIV_CALL zu_list_sort2(zu_list* list, zu_compare_fn compare) KIV_NOEXCEPT;

/* Merges two sorted lists and returns the result; of equal elements, those of list1 come first.
 * Without `compare` it returns list1. */
KIV_API zu_list* KIV_CALL zu_list_sort_merge(zu_list* list1, zu_list* list2,
                                             zu_compare_fn compare) KIV_NOEXCEPT;

/* Prints a title and the length on standard output, then calls `visit` for the data with NULL
 * as `user`. */
KIV_API void KIV_CALL zu_list_print(zu_list* list, zu_visit_fn visit) KIV_NOEXCEPT;

/* ---- hash tables ------------------------------------------------------------------------- */

/* Three tables of one design: a fixed number of buckets, each a chain with the newest entry first.
 * They never grow, so choose the number of buckets for the expected number of entries; a look-up is
 * linear in the length of its chain. The hash functions are simple and public: do not use a small
 * table for strings that a peer controls.
 *
 * An insertion does not look for the key. The newest entry of a key shadows the older ones until it
 * is deleted. */
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
  char* key; /* the table's copy, zero-terminated */
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
  int32_t iter_bucket; /* position of the iteration: this chain, */
  int32_t iter_pos;    /* after this many of its nodes */
} zu_ihash;

typedef zu_ihash zu_shash;

typedef struct zu_i64hash {
  void** buckets;
  int32_t owns_buckets;
  int64_t bucket_count;
  int64_t node_count;
  void* pool;
  int32_t padding; /* keeps the offsets below equal under every 32-bit ABI */
  int64_t iter_bucket;
  int64_t iter_pos;
} zu_i64hash;

#pragma pack(pop)

/* Creates a table over the caller's array of `count` buckets, which it clears and never frees.
 * Header and entries are allocated from `pool`, or from the heap if `pool` is NULL. Returns NULL
 * for a NULL array, a count below 1 or if out of memory. */
KIV_API zu_ihash* KIV_CALL zu_ihash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT;
KIV_API zu_i64hash* KIV_CALL zu_i64hash_mallocx(void** buckets, int64_t count,
                                                void* pool) KIV_NOEXCEPT;
KIV_API zu_shash* KIV_CALL zu_shash_mallocx(void** buckets, int32_t count, void* pool) KIV_NOEXCEPT;

/* Creates a table on the heap with its own array. Returns NULL for a count below 1 or if out
 * of memory. */
KIV_API zu_ihash* KIV_CALL zu_ihash_malloc(int32_t count) KIV_NOEXCEPT;
KIV_API zu_i64hash* KIV_CALL zu_i64hash_malloc(int64_t count) KIV_NOEXCEPT;
KIV_API zu_shash* KIV_CALL zu_shash_malloc(int32_t count) KIV_NOEXCEPT;

/* Frees the table and its entries; a caller's bucket array is cleared, but not freed. The x form
 * calls `release`, unless NULL, for every stored value. */
KIV_API void KIV_CALL zu_ihash_freex(zu_ihash* table, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_freex(zu_i64hash* table, zu_release_fn release,
                                       void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_freex(zu_shash* table, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_ihash_free(zu_ihash* table) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_free(zu_i64hash* table) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_free(zu_shash* table) KIV_NOEXCEPT;

/* Adds an entry at the front of its chain, whether or not the key exists. Returns 1, or 0 for a
 * NULL table or if out of memory. A string table copies the key; it also returns 0 for a NULL key
 * or a negative length. Here and below, a plain string form takes a terminated key, an x form any
 * `length` bytes. */
KIV_API int KIV_CALL zu_ihash_insert(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_insert(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_insertx(zu_shash* table, const void* key, int32_t length,
                                      void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_insert(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT;

/* Sets the value of the newest entry with this key; a missing key is not inserted. */
KIV_API void KIV_CALL zu_ihash_update(zu_ihash* table, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_update(zu_i64hash* table, int64_t key, void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_updatex(zu_shash* table, const void* key, int32_t length,
                                       void* value) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_update(zu_shash* table, const char* key, void* value) KIV_NOEXCEPT;

/* Looks up the newest entry with this key. Returns 1 and stores its value, or returns 0. `value`
 * may be NULL. */
KIV_API int KIV_CALL zu_ihash_find(zu_ihash* table, int32_t key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_i64hash_find(zu_i64hash* table, int64_t key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_findx(zu_shash* table, const void* key, int32_t length,
                                    void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shash_find(zu_shash* table, const char* key, void** value) KIV_NOEXCEPT;

/* Removes the newest entry with this key, if any; its value is not released. */
KIV_API void KIV_CALL zu_ihash_delete(zu_ihash* table, int32_t key) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_delete(zu_i64hash* table, int64_t key) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_deletex(zu_shash* table, const void* key,
                                       int32_t length) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_delete(zu_shash* table, const char* key) KIV_NOEXCEPT;

/* Tests the values of the key's chain, newest first, until one passes. Returns 1 and stores that
 * value, or returns 0. Keys are not compared: entries of other keys in the same chain are tested as
 * well. Without a test the first value of the chain matches. `value` may be NULL. */
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

/* Calls `visit` for every value, bucket by bucket, each chain from its newest entry. */
KIV_API void KIV_CALL zu_ihash_foreach(zu_ihash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_foreach(zu_i64hash* table, zu_visit_fn visit,
                                         void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_foreach(zu_shash* table, zu_visit_fn visit, void* user) KIV_NOEXCEPT;

/* Calls `visit` for every value of the key's chain; keys are not compared. */
KIV_API void KIV_CALL zu_ihash_foreachx(zu_ihash* table, int32_t key, zu_visit_fn visit,
                                        void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_i64hash_foreachx(zu_i64hash* table, int64_t key, zu_visit_fn visit,
                                          void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_shash_foreach_line(zu_shash* table, const void* key, int32_t length,
                                            zu_visit_fn visit, void* user) KIV_NOEXCEPT;

/* Iterate with the table's single cursor: First starts over, Next continues. Each returns 1 and
 * stores an entry, or returns 0 at the end. If the table changes in between, entries may be skipped
 * or repeated. Each output may be NULL; a string key is the table's own copy, valid until its entry
 * is removed. */
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

/* Resets the cursor to the start and returns the table. */
KIV_API zu_ihash* KIV_CALL zu_ihash_rewind(zu_ihash* table) KIV_NOEXCEPT;
KIV_API zu_i64hash* KIV_CALL zu_i64hash_rewind(zu_i64hash* table) KIV_NOEXCEPT;
KIV_API zu_shash* KIV_CALL zu_shash_rewind(zu_shash* table) KIV_NOEXCEPT;

/* Returns the number of stored entries, including shadowed ones. */
KIV_API int32_t KIV_CALL zu_ihash_nnodes(zu_ihash* table) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_i64hash_nnodes(zu_i64hash* table) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_shash_nnodes(zu_shash* table) KIV_NOEXCEPT;

/* ---- balanced trees ---------------------------------------------------------------------- */

/* An ordered map, implemented as a threaded AVL tree: zu_xtree over any keys, zu_itree over 32-bit
 * integers, zu_stree over strings, which it copies. The last two are zu_xtrees with a comparison of
 * their own. */

/* Compares a stored key with the probe, in this order: returns a negative number if the probe sorts
 * before the stored key, 0 if they are equal, a positive number if it sorts after. */
typedef int(KIV_CALL* zu_key_compare_fn)(const void* node_key, const void* probe, void* data);

/* Receives one entry; the meaning of its result is given at the function that calls it. */
typedef int(KIV_CALL* zu_entry_fn)(void* key, void* value, void* user);

#pragma pack(push, 1)

/* Where a child flag is 0 the pointer is a thread: `left` points to the preceding entry, `right` to
 * the following one; NULL at the two ends. */
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
  zu_release_fn key_destroy; /* NULL: keys are not released */
  void* key_destroy_data;
  zu_release_fn value_destroy; /* NULL: values are not released */
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

/* Creates an empty tree. Returns NULL without `key_compare` or if out of memory. The full form
 * allocates header and nodes from `pool` unless it is NULL, and calls the destroy callbacks, where
 * set, for each key and value that leaves the tree. */
KIV_API zu_xtree* KIV_CALL zu_xtree_new_full(void* pool, zu_key_compare_fn key_compare,
                                             void* key_compare_data, zu_release_fn key_destroy,
                                             void* key_destroy_data, zu_release_fn value_destroy,
                                             void* value_destroy_data) KIV_NOEXCEPT;
KIV_API zu_xtree* KIV_CALL zu_xtree_new(zu_key_compare_fn key_compare) KIV_NOEXCEPT;
KIV_API zu_xtree* KIV_CALL zu_xtree_new_with_data(zu_key_compare_fn key_compare,
                                                  void* key_compare_data) KIV_NOEXCEPT;

/* Frees the tree and, in order, its entries, each after its destroy callbacks. */
KIV_API void KIV_CALL zu_xtree_destroy(zu_xtree* tree) KIV_NOEXCEPT;

/* Stores an entry. Returns 1, or 0 for a NULL tree or if out of memory. If the key exists already,
 * _insert keeps the stored key and destroys the given key and the old value; _replace destroys the
 * stored key and value and stores both new ones. */
KIV_API int KIV_CALL zu_xtree_insert(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_xtree_replace(zu_xtree* tree, void* key, void* value) KIV_NOEXCEPT;

/* Removes an entry. Returns 1, or 0 if there is none. _steal calls no destroy callback. */
KIV_API int KIV_CALL zu_xtree_delete(zu_xtree* tree, const void* key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_xtree_steal(zu_xtree* tree, const void* key) KIV_NOEXCEPT;

/* Returns the value of a key; NULL if there is none. The x form returns 1 or 0 and stores the
 * stored key and the value; each output may be NULL. */
KIV_API void* KIV_CALL zu_xtree_find(zu_xtree* tree, const void* key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_xtree_findx(zu_xtree* tree, const void* key, void** stored_key,
                                    void** value) KIV_NOEXCEPT;

/* Descends by search(stored key, NULL, user): 0 means found, a negative result goes left, a
 * positive one right. Returns the value found, or NULL. */
KIV_API void* KIV_CALL zu_xtree_search(zu_xtree* tree, zu_key_compare_fn search,
                                       void* user) KIV_NOEXCEPT;

/* Calls visit(key, value, user) in key order until it returns 1. Returns the last result, or 0 for
 * an empty tree. */
KIV_API int KIV_CALL zu_xtree_foreach(zu_xtree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT;

/* Calls visit(key, value, user) in the given order. In-order and pre-order traversals stop at the
 * first result other than 0 and return it, else 0. A post-order traversal stops at a result above 0
 * and returns it, else the result for the root. Level order is not implemented and prints a line
 * that says so; any other order does nothing. */
KIV_API int KIV_CALL zu_xtree_traverse(zu_xtree* tree, zu_entry_fn visit, int32_t order,
                                       void* user) KIV_NOEXCEPT;

/* Returns the number of levels; 0 for an empty tree. */
KIV_API int32_t KIV_CALL zu_xtree_height(zu_xtree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_itree_height(zu_itree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_stree_height(zu_stree* tree) KIV_NOEXCEPT;

/* Returns the number of entries. */
KIV_API int32_t KIV_CALL zu_xtree_nnodes(zu_xtree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_itree_nnodes(zu_itree* tree) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_stree_nnodes(zu_stree* tree) KIV_NOEXCEPT;

/* Creates an empty tree, on the heap or, in the x form, in a pool. Returns NULL if out of memory.
 * Integer keys compare by their wrapped 32-bit difference, so all keys of one tree must lie less
 * than 2^31 apart. Strings compare by unsigned bytes up to the terminator. */
KIV_API zu_itree* KIV_CALL zu_itree_mallocx(void* pool) KIV_NOEXCEPT;
KIV_API zu_itree* KIV_CALL zu_itree_malloc(void) KIV_NOEXCEPT;
KIV_API zu_stree* KIV_CALL zu_stree_mallocx(void* pool) KIV_NOEXCEPT;
KIV_API zu_stree* KIV_CALL zu_stree_malloc(void) KIV_NOEXCEPT;

/* Stores an entry, like zu_xtree_insert. Strings are copied and must not be empty: returns 0 for
 * NULL or an empty key. The x form takes the first `length` bytes. */
KIV_API int KIV_CALL zu_itree_insert(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_insertx(zu_stree* tree, const void* key, int32_t length,
                                      void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_insert(zu_stree* tree, const char* key, void* value) KIV_NOEXCEPT;

/* Sets the value of a key. Returns 1, or 0 if the key does not exist (or if out of memory for a new
 * copy of its string). */
KIV_API int KIV_CALL zu_itree_update(zu_itree* tree, int32_t key, void* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_update(zu_stree* tree, const char* key, void* value) KIV_NOEXCEPT;

/* Looks up a key. Returns 1 and stores its value, or returns 0. `value` may be NULL. */
KIV_API int KIV_CALL zu_itree_find(zu_itree* tree, int32_t key, void** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_find(zu_stree* tree, const char* key, void** value) KIV_NOEXCEPT;

/* Removes an entry. Returns 1, or 0 if there is none. The x form first calls `release`, unless
 * NULL, for the value. */
KIV_API int KIV_CALL zu_itree_deletex(zu_itree* tree, int32_t key, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_deletex(zu_stree* tree, const char* key, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_itree_delete(zu_itree* tree, int32_t key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_delete(zu_stree* tree, const char* key) KIV_NOEXCEPT;

/* Calls `visit` for every value in key order. Returns 0. */
KIV_API int KIV_CALL zu_itree_foreach(zu_itree* tree, zu_visit_fn visit, void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_foreach(zu_stree* tree, zu_visit_fn visit, void* user) KIV_NOEXCEPT;

/* Tests the values in key order until one passes. Returns the last result, or 0 for an empty tree;
 * without a test, returns 1 if there is any entry. */
KIV_API int KIV_CALL zu_itree_foreach_if(zu_itree* tree, zu_test_fn test, void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_foreach_if(zu_stree* tree, zu_test_fn test, void* user) KIV_NOEXCEPT;

/* Traverses in key order, like zu_xtree_foreach. An integer key is passed as
 * (void*)(intptr_t)key. */
KIV_API int KIV_CALL zu_itree_traverse(zu_itree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stree_traverse(zu_stree* tree, zu_entry_fn visit, void* user) KIV_NOEXCEPT;

/* Frees the tree and its entries. The x form first calls `release`, unless NULL, for every
 * value, in order. */
KIV_API void KIV_CALL zu_itree_freex(zu_itree* tree, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_stree_freex(zu_stree* tree, zu_release_fn release,
                                     void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_itree_free(zu_itree* tree) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_stree_free(zu_stree* tree) KIV_NOEXCEPT;

/* ---- queue and stack --------------------------------------------------------------------- */

/* First in, first out; and last in, first out. Both count their elements and reach their ends in
 * constant time. A new record is all zero. */
typedef struct kiv_queue {
  zu_list* head; /* the oldest element */
  zu_list* tail; /* the node of the newest element */
  int32_t count;
} kiv_queue;

typedef struct kiv_stack {
  zu_list* top; /* the newest element */
  int32_t count;
} kiv_stack;

/* Creates an empty queue or stack. Returns NULL if out of memory. */
KIV_API kiv_queue* KIV_CALL kiv_queue_make(void) KIV_NOEXCEPT;
KIV_API kiv_stack* KIV_CALL kiv_stack_make(void) KIV_NOEXCEPT;

/* Adds an element. Returns 1, or 0 for NULL. If out of memory for its node, the element is still
 * counted and 1 is still returned, but it is not stored; the count stays too high until pops
 * reduce it. */
KIV_API int KIV_CALL kiv_queue_push(kiv_queue* queue, void* data) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_stack_push(kiv_stack* stack, void* data) KIV_NOEXCEPT;

/* Removes the next element and returns its value; NULL if there is none, or if the stored
 * value is NULL. */
KIV_API void* KIV_CALL kiv_queue_pop(kiv_queue* queue) KIV_NOEXCEPT;
KIV_API void* KIV_CALL kiv_stack_pop(kiv_stack* stack) KIV_NOEXCEPT;

/* Returns the value that would be popped after `index` further pops, without removing it; NULL if
 * there is none. */
KIV_API void* KIV_CALL kivx_queue_peek(kiv_queue* queue, int32_t index) KIV_NOEXCEPT;
KIV_API void* KIV_CALL kivx_stack_peek(kiv_stack* stack, int32_t index) KIV_NOEXCEPT;

/* Calls `visit` for every value in the order of pops. */
KIV_API void KIV_CALL kivx_queue_foreach(kiv_queue* queue, zu_visit_fn visit,
                                         void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL kivx_stack_foreach(kiv_stack* stack, zu_visit_fn visit,
                                         void* user) KIV_NOEXCEPT;

/* Frees the queue or stack with its nodes; the kivx_ forms first call `release` for each value, in
 * the order of pops. `release` may be NULL, and so may the record. */
KIV_API void KIV_CALL kiv_queue_free(kiv_queue* queue) KIV_NOEXCEPT;
KIV_API void KIV_CALL kivx_queue_free(kiv_queue* queue, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_stack_free(kiv_stack* stack) KIV_NOEXCEPT;
KIV_API void KIV_CALL kivx_stack_free(kiv_stack* stack, zu_release_fn release,
                                      void* user) KIV_NOEXCEPT;

/* Returns the number of elements; 0 for NULL. */
KIV_API int32_t KIV_CALL kiv_queue_nnodes(kiv_queue* queue) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_stack_nnodes(kiv_stack* stack) KIV_NOEXCEPT;

/* ---- jitter buffer ----------------------------------------------------------------------- */

/* A byte FIFO that takes in pieces of one size and returns pieces of another: a list of ring blocks
 * of equal capacity, newest last. Blocks are added as bytes arrive and freed as soon as they are
 * empty, so the memory in use follows the backlog. */
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

/* Creates a block for `capacity` bytes. Returns NULL for a capacity below 1 or if out of memory. */
KIV_API zu_jitter_block* KIV_CALL _zu_jitter_block_new(int32_t capacity) KIV_NOEXCEPT;
KIV_API void KIV_CALL _zu_jitter_block_free(zu_jitter_block* block) KIV_NOEXCEPT;

/* Discards the stored bytes. */
KIV_API void KIV_CALL _zu_jitter_block_reset(zu_jitter_block* block) KIV_NOEXCEPT;

/* Stores all the bytes or, if they do not fit, none: returns 1 or 0. A count below 1 stores nothing
 * and returns 1. */
KIV_API int KIV_CALL _zu_jitter_block_SetData(zu_jitter_block* block, const void* data,
                                              int32_t count) KIV_NOEXCEPT;

/* Removes (Peek: copies) up to `count` of the oldest bytes and returns their number. A NULL
 * destination discards them. */
KIV_API int32_t KIV_CALL _zu_jitter_block_GetData(zu_jitter_block* block, void* destination,
                                                  int32_t count) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL _zu_jitter_block_PeekData(zu_jitter_block* block, void* destination,
                                                   int32_t count) KIV_NOEXCEPT;

/* Copies the bytes from `start` up to `end`, counted from the oldest, and returns their number: end
 * - start, at most the length. The range is not clipped at the last byte: bytes beyond it come from
 * the ring as it stands, zero where nothing was ever written (a jitter buffer does not clear its
 * own blocks). Returns 0 for a NULL destination, an empty range, a negative start or a start past
 * the stored bytes. */
KIV_API int32_t KIV_CALL _zu_jitter_block_PeekData_ext(zu_jitter_block* block, void* destination,
                                                       int32_t start, int32_t end) KIV_NOEXCEPT;

/* Finds the end of the oldest zero-terminated packet. Returns 1, or 0 if no zero byte is stored.
 * The packet length includes the whole run of zeros that follows; the terminator length counts only
 * that run. Either output may be NULL. */
KIV_API int KIV_CALL _zu_jitter_block_CalPacketLen(zu_jitter_block* block, int32_t* packet_length,
                                                   int32_t* terminator_length) KIV_NOEXCEPT;

/* Returns the number of stored bytes, or of bytes that still fit. */
KIV_API int32_t KIV_CALL _zu_jitter_block_GetLen(zu_jitter_block* block) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL _zu_jitter_block_GetAvailableLen(zu_jitter_block* block) KIV_NOEXCEPT;

/* Initialises the caller's record as an empty buffer. Returns 1, or 0 for NULL or for a size or
 * number below 1. */
KIV_API int KIV_CALL zu_jitter_init(zu_jitter* jitter, int32_t block_size, int32_t max_blocks,
                                    void* user_data) KIV_NOEXCEPT;

/* Creates an empty buffer; the plain form has up to 100000 blocks of 16384 bytes. Returns NULL for
 * a size or number below 1 or if out of memory. */
KIV_API zu_jitter* KIV_CALL zu_jitter_mallocx(int32_t block_size, int32_t max_blocks,
                                              void* user_data) KIV_NOEXCEPT;
KIV_API zu_jitter* KIV_CALL zu_jitter_malloc(void) KIV_NOEXCEPT;

/* Discards the stored bytes and frees every block; the buffer remains usable. _destroy does the
 * same, for a record that zu_jitter_init initialised. */
KIV_API void KIV_CALL zu_jitter_empty(zu_jitter* jitter) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_jitter_destroy(zu_jitter* jitter) KIV_NOEXCEPT;

/* Destroys the buffer and frees its record. */
KIV_API void KIV_CALL zu_jitter_free(zu_jitter* jitter) KIV_NOEXCEPT;

/* Stores as many of the bytes as fit and returns their number: fewer than `count` if no further
 * block may be added or allocated. Returns 0 for NULL arguments or a count below 1. */
KIV_API int32_t KIV_CALL zu_jitter_SetData(zu_jitter* jitter, const void* data,
                                           int32_t count) KIV_NOEXCEPT;

/* Removes up to `count` of the oldest bytes and returns their number. A NULL destination
 * discards them. */
KIV_API int32_t KIV_CALL zu_jitter_GetData(zu_jitter* jitter, void* destination,
                                           int32_t count) KIV_NOEXCEPT;

/* Copies up to `count` bytes, starting at the oldest or `offset` bytes after it, and returns
 * their number. Returns 0 for a NULL destination, a count below 1 or an offset outside the
 * stored bytes. */
KIV_API int32_t KIV_CALL zu_jitter_PeekData(zu_jitter* jitter, void* destination,
                                            int32_t count) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_jitter_PeekDatax(zu_jitter* jitter, void* destination, int32_t offset,
                                             int32_t count) KIV_NOEXCEPT;

/* Returns the number of stored bytes, or of bytes for which the limits leave room. The room is
 * counted in whole blocks: if the oldest block has been read in part, slightly less can be stored.
 * Both sums saturate at INT32_MAX. */
KIV_API int32_t KIV_CALL zu_jitter_GetLen(zu_jitter* jitter) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_jitter_GetAvailableLen(zu_jitter* jitter) KIV_NOEXCEPT;

/* Returns or sets the owner's value. _Set returns the buffer. */
KIV_API void* KIV_CALL zu_jitter_GetUserData(zu_jitter* jitter) KIV_NOEXCEPT;
KIV_API zu_jitter* KIV_CALL zu_jitter_SetUserData(zu_jitter* jitter, void* user_data) KIV_NOEXCEPT;

#endif
