#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace historian::command {

// Reads the values of a file.
class NumberReader {
 public:
  // `decimal` is '.' or ','. `null_words` count besides the usual ones, in any case: NA, null, NaN, Bad, -
  // ...
  NumberReader(char decimal, std::vector<std::string> null_words);

  enum class Kind { Number, Null, Empty, Wrong };
  // Of a wrong value `problem` says what is wrong, as the end of a sentence that begins with it.
  Kind Read(std::string_view cell, double& value, std::string& problem) const;

 private:
  bool IsNull(std::string_view cell) const;

  char decimal_;
  std::vector<std::string> null_words_;
};

// Whether a cell is a number with that decimal sign.
bool IsNumber(std::string_view cell, char decimal);
// Whether it has separators between its thousands, which are not read: 1,234.5 or 1.234.567
bool HasThousands(std::string_view cell);

}  // namespace historian::command
