#pragma once

namespace sys {
class LocalOffsets;
}

namespace pq {

// One value of the current row as the server delivered it. Borrowed: valid until the next row.
struct Cell {
  const char* data = nullptr;  // NUL-terminated; null pointer: SQL NULL
  int length = 0;
  unsigned type = 0;    // the server's type, as its object id
  bool binary = false;  // in the server's binary format, of a type that BinaryFields reads
  // Of the session's time zone, for a timestamptz in binary; null pointer: UTC.
  sys::LocalOffsets* offsets = nullptr;
};

}  // namespace pq
