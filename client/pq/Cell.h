#pragma once

namespace pq {

// One value of the current row as the server delivered it, in text. Borrowed: valid until the next row.
struct Cell {
  const char* data = nullptr;  // NUL-terminated; null pointer: SQL NULL
  int length = 0;
  unsigned type = 0;  // the server's type, as its object id
};

}  // namespace pq
