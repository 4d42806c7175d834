#include "Layout.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "../Failure.h"
#include "../Text.h"
#include "Columns.h"
#include "Numbers.h"
#include "Sample.h"

namespace historian::command {
namespace {

constexpr std::array<char, 4> kDelimiters = {',', ';', '\t', '|'};

// Determines the layout step by step from the first rows.
class Detector {
 public:
  Detector(ByteSource& file, const FileOptions& options) : file_(file), options_(options) {}

  Layout Run() {
    FindEncoding();
    if (layout_.shape == Layout::Shape::JsonLines) return layout_;
    TextSource text(file_, layout_.encoding);
    const Sample sample = FindDelimiter(text);
    if (sample.timed() == 0) RefuseWithoutTimes(sample);
    layout_.time_column = sample.time_column();
    if (sample.has_clock()) layout_.clock_column = sample.time_column() + 1;
    FindHeader(sample);
    FindColumns(sample, options_, file_.path(), layout_);
    FindDecimal(sample);
    FindTimeFormat(sample);
    return layout_;
  }

 private:
  [[noreturn]] void Refuse(const std::string& what) const {
    throw Refusal(OneLine(file_.path()) + ": " + what);
  }
  [[noreturn]] void RefuseAt(std::size_t line, const std::string& what) const {
    throw Refusal(OneLine(file_.path()) + ':' + std::to_string(line) + ": " + what);
  }

  void FindEncoding() {
    std::string beginning(64 * 1024, '\0');
    file_.Rewind();
    beginning.resize(file_.Read(beginning.data(), beginning.size()));
    layout_.encoding = options_.encoding.value_or(DetectEncoding(beginning));
    std::string text;
    TextSource source(file_, layout_.encoding);
    source.Rewind();
    if (!source.Read(text)) Refuse("is empty");
    const bool json =
        text[text.find_first_not_of(" \t\r\n") == text.npos ? 0 : text.find_first_not_of(" \t\r\n")] == '{';
    if (options_.shape == "jsonl" || (options_.shape.empty() && json))
      layout_.shape = Layout::Shape::JsonLines;
  }

  Sample FindDelimiter(TextSource& text) {
    if (options_.delimiter) {
      layout_.delimiter = *options_.delimiter;
      return Sample(text, layout_.delimiter, options_);
    }
    std::optional<Sample> best;
    for (const char delimiter : kDelimiters) {
      Sample sample(text, delimiter, options_);
      // With the wrong delimiter, numbers with decimal commas look like two cells, while their names look
      // like one.
      const auto rank = [](const Sample& one) {
        return std::tuple(one.timed(), !one.HeaderRows().empty(), one.width());
      };
      if (!best || rank(sample) > rank(*best)) best.emplace(std::move(sample));
    }
    layout_.delimiter = best->delimiter();
    return std::move(*best);
  }

  [[noreturn]] void RefuseWithoutTimes(const Sample& sample) const {
    if (sample.rows().empty()) Refuse("holds no row");
    if (sample.rows().size() == 1)
      RefuseAt(sample.rows()[0].line, "this is the only row; a header row needs rows of data after it");
    if (const std::string days = sample.ExcelTime(); options_.time_format.empty() && !days.empty())
      Refuse("holds no time that is recognised; if " + Quote(days) +
             " is a time in days, as spreadsheets count them, --time-format excel reads it");
    const Sample::Row& row = sample.rows()[1];
    if (row.cells.size() == 1 && IsTime(row.cells[0]))
      RefuseAt(row.line, "this row is a time and nothing else; --delimiter says what separates its cells");
    RefuseAt(row.line, "there is no time that is recognised in this row, which begins with " +
                           Quote(row.cells[0]) +
                           "; --time-format, --time-column or --delimiter name what it is");
  }

  // The header row, the row of units after it, and where the data begins.
  void FindHeader(const Sample& sample) {
    const auto headers = sample.HeaderRows();
    const auto first = std::find_if(sample.rows().begin(), sample.rows().end(),
                                    [&](const auto& row) { return sample.IsTimed(row); });
    std::size_t used = 0;
    layout_.names = options_.columns;
    if (layout_.names.empty()) {
      if (headers.empty()) RefuseNarrowHeader(sample);
      if (headers.empty() || (HoldsNumber(*headers[0]) && !sample.NamesTime(*headers[0]))) {
        RefuseAt(first->line, "the file has no header row; name its columns (--columns time,TAG1,TAG2)");
      }
      layout_.names = headers[used++]->cells;
    }
    if (used < headers.size() && !HoldsNumber(*headers[used])) {
      const char* what = used == 1 ? "units" : "the columns are named already";
      layout_.remarks.push_back("line " + std::to_string(headers[used++]->line) + " is left out: " + what);
    }
    layout_.first_data_line = used < headers.size() ? headers[used]->line : first->line;
    const std::size_t line = headers.empty() ? first->line : headers[0]->line;
    if (line > sample.rows()[0].line) {
      layout_.remarks.push_back("what comes before line " + std::to_string(line) +
                                " is left out: no header row");
    }
    CheckWidth(sample, line);
  }

  // Refuses a header row that has fewer names than the rows after it have cells.
  void RefuseNarrowHeader(const Sample& sample) const {
    const Sample::Row* header = nullptr;
    for (const auto& row : sample.rows()) {
      if (sample.IsTimed(row)) break;
      if (row.cells.size() >= 2 && !HoldsNumber(row)) header = &row;
    }
    if (header != nullptr) RefuseWidth(header->line, header->cells.size(), sample.width());
  }

  [[noreturn]] void RefuseWidth(std::size_t line, std::size_t names, std::size_t cells) const {
    RefuseAt(line, "the header row has " + Count(names, "cell") + ", the rows of data have " +
                       std::to_string(cells));
  }

  static bool HoldsNumber(const Sample::Row& row) {
    return std::any_of(row.cells.begin(), row.cells.end(),
                       [](const auto& cell) { return IsNumber(cell, '.') || IsNumber(cell, ','); });
  }

  // A separator at the end of a row makes one more, empty cell.
  void CheckWidth(const Sample& sample, std::size_t line) {
    while (layout_.names.size() > 2 && layout_.names.back().empty()) layout_.names.pop_back();
    const std::size_t names = layout_.names.size();
    const bool fits = sample.width() >= names &&
                      std::all_of(sample.rows().begin(), sample.rows().end(), [&](const auto& row) {
                        return !sample.IsTimed(row) || row.cells.size() != sample.width() ||
                               std::all_of(row.cells.begin() + static_cast<std::ptrdiff_t>(names),
                                           row.cells.end(), [](const auto& cell) { return cell.empty(); });
                      });
    if (!fits) RefuseWidth(line, names, sample.width());
  }

  void FindDecimal(const Sample& sample) {
    if (options_.decimal) {
      layout_.decimal = *options_.decimal;
      return;
    }
    bool comma = false, point = false;
    auto columns = layout_.tag_columns;
    if (layout_.shape == Layout::Shape::Long) columns = {layout_.value_column};
    for (const auto& row : sample.rows()) {
      if (!sample.IsTimed(row)) continue;
      for (const std::size_t column : columns) {
        if (column >= row.cells.size()) continue;
        const bool with_point = IsNumber(row.cells[column], '.'),
                   with_comma = IsNumber(row.cells[column], ',');
        comma = comma || (with_comma && !with_point);
        point = point || (with_point && !with_comma);
      }
    }
    if (comma && point)
      Refuse("writes numbers with decimal commas and with decimal points; --decimal says which counts");
    layout_.decimal = comma ? ',' : '.';
  }

  void FindTimeFormat(const Sample& sample) {
    if (!options_.time_format.empty()) {
      layout_.time_format = TimeFormatNamed(options_.time_format);
      return;
    }
    std::vector<std::string> texts;
    for (const auto& row : sample.rows()) {
      if (sample.IsTimed(row)) texts.push_back(sample.TimeText(row));
    }
    auto formats = FormatsOf(texts);
    if (formats.empty()) formats = FormatsOf({texts[0]});
    if (formats.size() > 1 && texts[0].find_first_of("Mm") == std::string::npos) {
      RefuseAt(layout_.first_data_line,
               "the date of " + Quote(texts[0]) +
                   " may begin with the month or with the day; --time-format us or eu says which");
    }
    layout_.time_format = formats[0];
  }

  ByteSource& file_;
  const FileOptions& options_;
  Layout layout_;
};

}  // namespace

const char* NameOf(Layout::Shape shape) {
  switch (shape) {
    case Layout::Shape::Long: return "long";
    case Layout::Shape::JsonLines: return "jsonl";
    case Layout::Shape::Wide: break;
  }
  return "wide";
}

std::string NameOfDelimiter(char delimiter) {
  switch (delimiter) {
    case ',': return "comma";
    case ';': return "semicolon";
    case '\t': return "tab";
    default: return std::string(1, delimiter);
  }
}

Layout DetectLayout(ByteSource& file, const FileOptions& options) { return Detector(file, options).Run(); }

}  // namespace historian::command
