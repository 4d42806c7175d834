#pragma once

namespace pq {

// Object ids of the server's types.
constexpr unsigned kUntyped = 0;
constexpr unsigned kBool = 16;
constexpr unsigned kName = 19;
constexpr unsigned kInt8 = 20;
constexpr unsigned kInt2 = 21;
constexpr unsigned kInt4 = 23;
constexpr unsigned kText = 25;
constexpr unsigned kFloat8 = 701;
constexpr unsigned kBpchar = 1042;
constexpr unsigned kVarchar = 1043;
constexpr unsigned kTimestamptz = 1184;
constexpr unsigned kNumeric = 1700;

// Whether a type's binary format is its text.
constexpr bool IsText(unsigned type) {
  return type == kText || type == kVarchar || type == kBpchar || type == kName;
}

// Formats of a parameter or a column.
constexpr int kTextFormat = 0;
constexpr int kBinaryFormat = 1;

}  // namespace pq
