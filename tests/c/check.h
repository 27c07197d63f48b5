/* Counts what fails, and tells where. */
#include <stdio.h>

static int failures = 0;

#define CHECK(condition)                                            \
  do {                                                              \
    if (!(condition)) {                                             \
      ++failures;                                                   \
      fprintf(stderr, "line %d fails: %s\n", __LINE__, #condition); \
    }                                                               \
  } while (0)
