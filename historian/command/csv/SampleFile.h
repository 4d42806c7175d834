#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "CsvReader.h"
#include "DbmsAPI/HistoryTypes.h"
#include "Layout.h"
#include "Numbers.h"

namespace historian::command {

// A row that cannot be read.
struct BadRow {
  std::size_t line = 0;
  std::string column;   // empty: the row as a whole
  std::string problem;  // a sentence

  // "FILE:LINE, column NAME: PROBLEM".
  std::string Describe(const std::string& file) const;
};

// Reads a file of samples row by row, with one row in memory.
class SampleFile {
 public:
  // `name` is the file's name in messages. The zone must outlive the object.
  SampleFile(const std::string& path, std::string name, FileOptions options, const Zone& zone);
  SampleFile(const SampleFile&) = delete;
  SampleFile& operator=(const SampleFile&) = delete;

  enum class Result { Row, Bad, End };
  // Appends the samples of the next row. For a bad row it appends nothing and says what is wrong.
  Result ReadRow(std::vector<LogSample>& samples, BadRow& bad);
  void Rewind();

  const std::string& name() const { return name_; }
  const Layout& layout() const { return layout_; }
  double share() const;  // the part of the file that was read, 0 to 1
  std::uint64_t size() const { return bytes_.size(); }
  // The hash of the bytes read since the beginning; at the end, of the whole content.
  std::uint64_t content_hash() const { return bytes_.hash(); }

 private:
  Result ReadJsonLine(std::vector<LogSample>& samples, BadRow& bad);
  bool ReadJsonText(std::string& line);
  bool ReadTime(std::string_view text, Time& time, BadRow& bad) const;
  bool ReadWide(Time time, std::vector<LogSample>& samples, BadRow& bad);
  bool ReadLong(Time time, std::vector<LogSample>& samples, BadRow& bad);
  bool AddValue(Time time, const std::wstring& tag, std::size_t column, std::vector<LogSample>& samples,
                BadRow& bad);
  const std::wstring* TagNamed(std::string_view name, BadRow& bad);
  bool Reject(BadRow& bad, std::size_t column, std::string problem) const;

  ByteSource bytes_;
  std::string name_;
  FileOptions options_;
  Layout layout_;
  TextSource text_;
  TimeReader times_;
  NumberReader numbers_;
  std::unique_ptr<CsvReader> reader_;
  std::vector<std::string_view> cells_;
  std::vector<std::wstring> tags_;  // of the tag columns
  std::unordered_map<std::string, std::wstring> tag_names_;
  std::string joined_time_;
  std::string lines_;  // a piece of a file of JSON lines, read up to lines_at_
  std::size_t lines_at_ = 0;
  std::size_t json_line_ = 0;
};

}  // namespace historian::command
