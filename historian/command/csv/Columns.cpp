#include "Columns.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "../Failure.h"
#include "../Text.h"
#include "Numbers.h"

namespace historian::command {
namespace {

constexpr std::array<std::string_view, 11> kTagNames = {"tag",     "tag_name", "tagname", "tag name",
                                                        "tagpath", "name",     "varname", "point",
                                                        "signal",  "variable", "metric"};
constexpr std::array<std::string_view, 7> kValueNames = {"value", "val",      "varvalue", "floatvalue",
                                                         "wert",  "messwert", "avg"};

class ColumnFinder {
 public:
  ColumnFinder(const Sample& sample, const FileOptions& options, const std::string& path, Layout& layout)
      : sample_(sample), options_(options), path_(path), layout_(layout) {}

  void Run() {
    auto tag = ColumnCalled("--tag-column", options_.tag_column, kTagNames);
    auto value = ColumnCalled("--value-column", options_.value_column, kValueNames);
    if ((!tag || !value) && options_.shape != "wide") FindLongByContent(tag, value);
    const bool is_long = options_.shape.empty() ? tag && value && tag != value : options_.shape == "long";
    if (is_long) {
      if (!tag || !value)
        Refuse("is not recognised as long: name its columns with --tag-column and --value-column");
      layout_.shape = Layout::Shape::Long;
      layout_.tag_column = *tag;
      layout_.value_column = *value;
      RefuseThousands(*value);
    }
    CheckNames();
  }

 private:
  [[noreturn]] void Refuse(const std::string& what) const { throw Refusal(OneLine(path_) + ": " + what); }

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

  // A long file has two columns besides the time: one of names, one of numbers.
  void FindLongByContent(std::optional<std::size_t>& tag, std::optional<std::size_t>& value) const {
    std::vector<std::size_t> rest;
    for (std::size_t i = 0; i < layout_.names.size(); ++i) {
      if (!IsTimeOrIgnored(i)) rest.push_back(i);
    }
    if (rest.size() != 2) return;
    for (const auto& [a, b] : {std::pair(rest[0], rest[1]), std::pair(rest[1], rest[0])}) {
      if (TextOf(a).empty() || !HoldsNumbers(b)) continue;
      tag = a;
      value = b;
    }
  }

  // Whether any cell of the column meets the condition, in the first rows of the file.
  bool Any(std::size_t column, const auto& condition) const {
    return std::any_of(sample_.rows().begin(), sample_.rows().end(), [&](const auto& row) {
      return sample_.IsTimed(row) && column < row.cells.size() && condition(row.cells[column]);
    });
  }
  bool HoldsNumbers(std::size_t column) const {
    return Any(column, [](const auto& cell) { return IsNumber(cell, '.') || IsNumber(cell, ','); });
  }
  // The first text of a column that has no numbers and no null words; empty if it has any.
  std::string TextOf(std::size_t column) const {
    const NumberReader reader('.', options_.null_words);
    std::string first;
    const auto is_no_text = [&](const std::string& cell) {
      double ignored = 0;
      std::string problem;
      const auto kind = reader.Read(cell, ignored, problem);
      const bool wrong = kind == NumberReader::Kind::Wrong && !IsNumber(cell, ',') && !HasThousands(cell);
      if (wrong && first.empty()) first = cell;
      return !wrong && kind != NumberReader::Kind::Empty;
    };
    return Any(column, is_no_text) ? "" : first;
  }

  // Refused rather than removed, because 1,234 and 1.234 can also be numbers with decimals.
  void RefuseThousands(std::size_t column) const {
    std::string found;
    const auto has_thousands = [&](const std::string& cell) {
      found = HasThousands(cell) && !IsNumber(cell, '.') && !IsNumber(cell, ',') ? cell : "";
      return !found.empty();
    };
    if (Any(column, has_thousands))
      Refuse("column " + Named(column) + " has separators between the thousands of its numbers (" +
             Quote(found) + "), which are not read: write the numbers without them");
  }

  bool IsIgnored(std::size_t column) const {
    return std::any_of(options_.ignore.begin(), options_.ignore.end(),
                       [&](const auto& name) { return FindColumn(layout_.names, name) == column; });
  }

  bool IsTimeOrIgnored(std::size_t column) const {
    return column == layout_.time_column || column == layout_.clock_column || IsIgnored(column);
  }

  void CheckNames() {
    for (const auto& name : options_.ignore) {
      if (!FindColumn(layout_.names, name)) Refuse("has no column " + Quote(name) + " (--ignore)");
    }
    if (layout_.shape == Layout::Shape::Long) return CheckLongColumns();
    for (std::size_t i = 0; i < layout_.names.size(); ++i) {
      if (!IsTimeOrIgnored(i)) AddTagColumn(i);
    }
    if (layout_.tag_columns.empty()) Refuse("has no column of values");
  }

  std::string Named(std::size_t column) const {
    return std::to_string(column + 1) + " (" + OneLine(layout_.names[column]) + ')';
  }

  void CheckLongColumns() const {
    std::vector<std::size_t> others;
    for (std::size_t i = 0; i < layout_.names.size(); ++i) {
      if (!IsTimeOrIgnored(i) && i != layout_.tag_column && i != layout_.value_column) others.push_back(i);
    }
    if (others.empty()) return;
    std::string columns, names;
    for (const std::size_t column : others) {
      columns += (columns.empty() ? "" : ", ") + Named(column);
      const std::string& name = layout_.names[column];
      names += (names.empty() ? "" : ",") + (name.empty() ? std::to_string(column + 1) : name);
    }
    Refuse((others.size() == 1 ? "column " + columns + " is" : "columns " + columns + " are") +
           " neither time, tag nor value; --ignore " + Quote(names) + " leaves " +
           (others.size() == 1 ? "it" : "them") + " out");
  }

  void AddTagColumn(std::size_t column) {
    const std::string& name = layout_.names[column];
    const std::string number = std::to_string(column + 1);
    if (name.empty()) Refuse("column " + number + " has no name; --ignore " + number + " leaves it out");
    if (!IsUtf8(name)) Refuse("the name of column " + number + " is not UTF-8; --encoding latin-1?");
    if (name.find('\0') != name.npos) Refuse("the name of column " + number + " holds a zero byte");
    if (!seen_.insert(name).second)
      Refuse("two columns are called " + Quote(name) + "; --columns names them otherwise");
    if (const std::string text = TextOf(column); !text.empty())
      Refuse(
          "column " + Named(column) + " holds texts (" + Quote(text) +
          "): --tag-column and --value-column if it names the tag of each row, --ignore COLUMN to leave it out, "
          "--null WORD for a word that means none");
    RefuseThousands(column);
    layout_.tag_columns.push_back(column);
  }

  const Sample& sample_;
  const FileOptions& options_;
  const std::string& path_;
  Layout& layout_;
  std::unordered_set<std::string> seen_;
};

}  // namespace

void FindColumns(const Sample& sample, const FileOptions& options, const std::string& path, Layout& layout) {
  ColumnFinder(sample, options, path, layout).Run();
}

}  // namespace historian::command
