// Files of samples: written rows are read back, rows without quotes are read as by a simple reference, and
// any file gives samples or an error.

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "Fuzz.h"
#include "historian/command/Failure.h"
#include "historian/command/TemporaryFile.h"
#include "historian/command/csv/SampleFile.h"

using namespace historian::command;

namespace {

using Row = std::vector<std::string>;

std::vector<Row> Read(const std::string& content, char delimiter, Encoding encoding,
                      bool* problems = nullptr) {
  const TemporaryFile file(content);
  ByteSource bytes(file.path());
  TextSource text(bytes, encoding);
  CsvReader reader(text, delimiter);
  std::vector<Row> rows;
  std::size_t line = 0;
  for (std::vector<std::string_view> cells; reader.ReadRow(cells);) {
    REQUIRE(!cells.empty() && reader.line() > line);
    line = reader.line();
    rows.emplace_back(cells.begin(), cells.end());
    if (problems) *problems = *problems || !reader.problem().what.empty();
  }
  return rows;
}

std::string Quoted(std::string_view cell) {
  std::string quoted = "\"";
  for (const char c : cell) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

void RequireRoundTrip(fuzz::Input& input, char delimiter) {
  const char* const end = input.Below(2) == 0 ? "\n" : "\r\n";
  const unsigned width = input.Below(4) + 1;
  std::vector<Row> rows;
  std::string content;
  for (unsigned i = input.Below(4); i > 0; --i) {
    Row row;
    for (unsigned column = 0; column < width; ++column) {
      // Rows of empty cells are skipped.
      row.push_back((column == 0 ? "x" : "") + std::string(input.Bytes(input.Below(16))));
      content += (column == 0 ? std::string() : std::string(1, delimiter)) + Quoted(row.back());
    }
    content += end;
    rows.push_back(row);
  }
  bool problems = false;
  REQUIRE(Read(content, delimiter, Encoding::Utf8, &problems) == rows && !problems);
}

// Rows of text that holds no quotes.
std::vector<Row> Reference(std::string_view text, char delimiter) {
  std::vector<Row> rows;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    text.remove_prefix(line.size());
    text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min<std::size_t>(1, text.size()));
    if (line.starts_with('#')) continue;
    Row row;
    bool filled = false;
    for (bool more = true; more;) {
      const std::size_t stop = std::min(line.find(delimiter), line.size());
      more = stop < line.size();
      row.emplace_back(Trim(line.substr(0, stop)));
      filled = filled || !row.back().empty();
      line.remove_prefix(std::min(stop + 1, line.size()));
    }
    if (filled) rows.push_back(row);
  }
  return rows;
}

void RequireSamplesOrAReason(const std::string& content, const FileOptions& options) {
  const TemporaryFile temporary(content);
  static const auto utc = FindZone("UTC");
  try {
    SampleFile file(temporary.path(), "plant.csv", options, *utc);
    std::vector<LogSample> samples;
    BadRow bad;
    for (auto result = SampleFile::Result::Row; result != SampleFile::Result::End;) {
      samples.clear();
      result = file.ReadRow(samples, bad);
      if (result == SampleFile::Result::Bad) REQUIRE(samples.empty() && !bad.problem.empty() && bad.line > 0);
      for (const LogSample& sample : samples) {
        REQUIRE(sample.timeMs > 0 && !sample.tagName.empty() && std::isfinite(sample.value));
      }
    }
    REQUIRE(file.share() >= 0 && file.share() <= 1);
  } catch (const Refusal& refusal) {
    REQUIRE(std::strlen(refusal.what()) > 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const char delimiter = ",;\t|"[input.Below(4)];
  const auto encoding = static_cast<Encoding>(input.Below(4));
  FileOptions options;
  constexpr const char* kShapes[] = {"", "wide", "long", "jsonl"};
  options.shape = kShapes[input.Below(4)];
  const bool roundTrip = input.Below(2) == 0;
  if (roundTrip) RequireRoundTrip(input, delimiter);

  std::string content(input.Rest());
  RequireSamplesOrAReason(content, options);
  // The readers below would refuse a text that begins like a compressed file.
  if (content.starts_with("\x1f\x8b")) return 0;
  Read(content, delimiter, encoding);
  std::replace(content.begin(), content.end(), '"', '\'');
  REQUIRE(Read(content, delimiter, Encoding::Utf8) == Reference(content, delimiter));
  return 0;
}
