#pragma once

#include <array>
#include <string>
#include <vector>

#include "SQLAPI.h"

namespace pq {

// The values bound to a statement as libpq takes them: numbers and booleans in binary with their types, texts
// in UTF-8 with the type left to the server, NULL without a type.
class Parameters {
 public:
  static constexpr std::size_t kMaxTextSize = std::size_t{1} << 30;  // the server takes no more

  explicit Parameters(std::size_t maxTextSize = kMaxTextSize) : maxTextSize_(maxTextSize) {}

  // Replaces the values. Class 2 error for a value never bound, and for a text that holds a NUL character or
  // more than 1 GiB.
  void Bind(const std::vector<SAParam>& values);

  int Count() const { return static_cast<int>(types_.size()); }
  const unsigned* Types() const { return types_.data(); }
  const char* const* Values() const { return values_.data(); }  // null pointer: NULL
  const int* Lengths() const { return lengths_.data(); }
  const int* Formats() const { return formats_.data(); }

  // Whether a statement that was parsed for these types accepts the values. NULL fits any type.
  bool Fit(const std::vector<unsigned>& parsed) const;

  // Sets the types that the statement is parsed for. For a NULL the previous type stays.
  void UpdateTypes(std::vector<unsigned>& types) const;

 private:
  using Scalar = std::array<char, 8>;  // in network order

  void Set(std::size_t index, const SAParam& value);
  void SetScalar(std::size_t index, unsigned type, std::size_t size, std::uint64_t bits);
  void AppendText(std::size_t index, const SAParam& value);
  void PointAtTexts();

  std::size_t maxTextSize_;
  std::vector<unsigned> types_;
  std::vector<const char*> values_;
  std::vector<int> lengths_;
  std::vector<int> formats_;
  std::vector<Scalar> scalars_;
  std::string texts_;  // one after the other, each with its NUL
  std::vector<std::size_t> textIndexes_;
};

}  // namespace pq
