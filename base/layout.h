// Layouts of the public records.
//
// Programs in other languages, and programs that were compiled long ago, read and write the members
// of these records at the offsets of the 32-bit library, and embed the records in their own. No
// member may move there, and the size is fixed. Other records belong to the library alone.
#pragma once

#include <cstddef>

// Asserts the size of a record and the offset of one member, usually the last.
#define KIV_LAYOUT(record, size, member, offset) \
  static_assert(sizeof(void*) != 4 ||            \
                (sizeof(record) == (size) && offsetof(record, member) == (offset)))
