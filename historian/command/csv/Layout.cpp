#include "Layout.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "../Failure.h"
#include "../Text.h"
#include "CsvReader.h"
#include "Numbers.h"
#include "Sample.h"

namespace historian::command {
namespace {

constexpr std::array<char, 4> kDelimiters = {',', ';', '\t', '|'};

constexpr std::array<std::string_view, 9> kTagNames = {"tag",   "tag_name", "tagname",  "tag name", "name",
                                                       "point", "signal",   "variable", "metric"};
constexpr std::array<std::string_view, 5> kValueNames = {"value", "val", "wert", "messwert", "avg"};

// Works one thing after the other out of the first rows.
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
    FindColumns(sample);
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
      const bool better = !best || sample.timed() > best->timed() ||
                          (sample.timed() == best->timed() && sample.width() > best->width());
      if (better) best.emplace(std::move(sample));
    }
    layout_.delimiter = best->delimiter();
    return std::move(*best);
  }

  [[noreturn]] void RefuseWithoutTimes(const Sample& sample) const {
    if (sample.rows().empty()) Refuse("holds no row");
    if (sample.rows().size() == 1)
      RefuseAt(sample.rows()[0].line, "this is the only row; a header row needs rows of data after it");
    const Sample::Row& row = sample.rows()[1];
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

  static bool HoldsNumber(const Sample::Row& row) {
    return std::any_of(row.cells.begin(), row.cells.end(),
                       [](const auto& cell) { return IsNumber(cell, '.') || IsNumber(cell, ','); });
  }

  // A separator at the end of a row makes one more cell, which is empty.
  void CheckWidth(const Sample& sample, std::size_t line) {
    while (layout_.names.size() > 2 && layout_.names.back().empty()) layout_.names.pop_back();
    const std::size_t names = layout_.names.size();
    const bool fits = sample.width() >= names &&
                      std::all_of(sample.rows().begin(), sample.rows().end(), [&](const auto& row) {
                        return !sample.IsTimed(row) || row.cells.size() != sample.width() ||
                               std::all_of(row.cells.begin() + static_cast<std::ptrdiff_t>(names),
                                           row.cells.end(), [](const auto& cell) { return cell.empty(); });
                      });
    if (!fits)
      RefuseAt(line, "the header row has " + Count(names, "cell") + ", the rows of data have " +
                         std::to_string(sample.width()));
  }

  std::optional<std::size_t> ColumnCalled(const std::string& option, const std::string& given,
                                          const auto& usual) const {
    if (!given.empty()) {
      const auto found = FindColumn(layout_.names, given);
      if (!found) Refuse("has no column " + Quote(given) + " (" + option + ')');
      return found;
    }
    for (std::size_t i = 0; i < layout_.names.size(); ++i) {
      std::string lower = layout_.names[i];
      std::transform(lower.begin(), lower.end(), lower.begin(),
                     [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
      if (i != layout_.time_column && std::find(usual.begin(), usual.end(), lower) != usual.end()) return i;
    }
    return {};
  }

  void FindColumns(const Sample& sample) {
    auto tag = ColumnCalled("--tag-column", options_.tag_column, kTagNames);
    auto value = ColumnCalled("--value-column", options_.value_column, kValueNames);
    if ((!tag || !value) && options_.shape != "wide") FindLongByContent(sample, tag, value);
    const bool is_long = options_.shape.empty() ? tag && value && tag != value : options_.shape == "long";
    if (is_long) {
      if (!tag || !value)
        Refuse("is not recognised as long: name its columns with --tag-column and --value-column");
      layout_.shape = Layout::Shape::Long;
      layout_.tag_column = *tag;
      layout_.value_column = *value;
    }
    CheckNames();
  }

  // Three columns: the time, one of names, one of numbers.
  void FindLongByContent(const Sample& sample, auto& tag, auto& value) const {
    if (layout_.names.size() != 3 || layout_.clock_column) return;
    const auto numbers = [&](std::size_t column) {
      return std::any_of(sample.rows().begin(), sample.rows().end(), [&](const auto& row) {
        return sample.IsTimed(row) && column < row.cells.size() &&
               (IsNumber(row.cells[column], '.') || IsNumber(row.cells[column], ','));
      });
    };
    std::vector<std::size_t> rest;
    for (std::size_t i = 0; i < 3; ++i) {
      if (i != layout_.time_column) rest.push_back(i);
    }
    for (const auto& [a, b] : {std::pair(rest[0], rest[1]), std::pair(rest[1], rest[0])}) {
      const bool texts =
          std::all_of(sample.rows().begin(), sample.rows().end(), [&, column = a](const auto& row) {
            double ignored = 0;
            std::string problem;
            return !sample.IsTimed(row) || column >= row.cells.size() ||
                   NumberReader('.', options_.null_words).Read(row.cells[column], ignored, problem) ==
                       NumberReader::Kind::Wrong;
          });
      if (!texts || numbers(a) || !numbers(b)) continue;
      tag = a;
      value = b;
    }
  }

  bool IsIgnored(std::size_t column) const {
    return std::any_of(options_.ignore.begin(), options_.ignore.end(),
                       [&](const auto& name) { return FindColumn(layout_.names, name) == column; });
  }

  void CheckNames() {
    for (const auto& name : options_.ignore) {
      if (!FindColumn(layout_.names, name)) Refuse("has no column " + Quote(name) + " (--ignore)");
    }
    std::unordered_set<std::string> seen;
    for (std::size_t i = 0; i < layout_.names.size(); ++i) {
      const bool used = i == layout_.time_column || i == layout_.clock_column;
      if (used || IsIgnored(i)) continue;
      if (layout_.shape == Layout::Shape::Long) {
        if (i != layout_.tag_column && i != layout_.value_column) {
          Refuse("column " + std::to_string(i + 1) + " (" + OneLine(layout_.names[i]) +
                 ") is neither time, tag nor value; --ignore " + Quote(layout_.names[i]) + " leaves it out");
        }
        continue;
      }
      const std::string& name = layout_.names[i];
      if (name.empty())
        Refuse("column " + std::to_string(i + 1) + " has no name; --ignore " + std::to_string(i + 1) +
               " leaves it out");
      if (!IsUtf8(name))
        Refuse("the name of column " + std::to_string(i + 1) + " is not UTF-8; --encoding latin-1?");
      if (name.find('\0') != name.npos)
        Refuse("the name of column " + std::to_string(i + 1) + " holds a zero byte");
      if (!seen.insert(name).second)
        Refuse("two columns are called " + Quote(name) + "; --columns names them otherwise");
      layout_.tag_columns.push_back(i);
    }
    if (layout_.shape == Layout::Shape::Wide && layout_.tag_columns.empty())
      Refuse("has no column of values");
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
