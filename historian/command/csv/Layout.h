#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Encoding.h"
#include "Times.h"

namespace historian::command {

// What the command line says about files. Everything else is recognised.
struct FileOptions {
  std::optional<char> delimiter, decimal;
  std::optional<Encoding> encoding;
  std::string shape;                 // wide, long, jsonl
  std::string time_format;           // as TimeFormatNamed takes it
  std::vector<std::string> columns;  // names in place of a header row
  std::string time_column, tag_column, value_column;
  std::vector<std::string> ignore;  // columns to skip, by name or number from 1
  std::vector<std::string> null_words;
  std::size_t skip_lines = 0;  // before the header row
  bool empty_is_null = false;  // an empty cell is a sample without a value, otherwise no sample
  bool truncate_times = false;
};

// How a file is laid out.
struct Layout {
  enum class Shape { Wide, Long, JsonLines };
  Shape shape = Shape::Wide;
  Encoding encoding = Encoding::Utf8;
  char delimiter = ',';
  char decimal = '.';
  TimeFormat time_format;
  std::vector<std::string> names;  // of the columns
  std::size_t time_column = 0;
  std::optional<std::size_t> clock_column;       // the time of day, if the time has two columns
  std::size_t tag_column = 0, value_column = 0;  // long
  std::vector<std::size_t> tag_columns;          // wide
  std::size_t first_data_line = 1;
  std::vector<std::string> remarks;  // which lines were skipped and why, one sentence each
};

const char* NameOf(Layout::Shape shape);
std::string NameOfDelimiter(char delimiter);

// Recognises a file's layout by its first rows, as far as the options leave it open. The read position of the
// file is undefined afterwards. Throws a Refusal that names the obstacle and the option that helps.
Layout DetectLayout(ByteSource& file, const FileOptions& options);

}  // namespace historian::command
