#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace historian::command {

// Reads the values of a file.
class NumberReader {
 public:
  // `decimal` is '.' or ','. `null_words` are added to the usual ones (NA, null, NaN, Bad, -, ...); upper and
  // lower case are the same.
  NumberReader(char decimal, std::vector<std::string> null_words);

  enum class Kind { Number, Null, Empty, Wrong };
  // For a wrong value, `problem` is the end of a sentence that begins with the value.
  Kind Read(std::string_view cell, double& value, std::string& problem) const;

 private:
  bool IsNull(std::string_view cell) const;

  char decimal_;
  std::vector<std::string> null_words_;
};

// Whether a cell is a number with that decimal sign.
bool IsNumber(std::string_view cell, char decimal);
// Whether a cell has separators between thousands (1,234.5 or 1.234.567), which are not supported.
bool HasThousands(std::string_view cell);

}  // namespace historian::command
