#include "Columns.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "../Failure.h"
#include "../Text.h"
#include "Numbers.h"

namespace historian::command {
namespace {

constexpr std::array<std::string_view, 9> kTagNames = {"tag",   "tag_name", "tagname",  "tag name", "name",
                                                       "point", "signal",   "variable", "metric"};
constexpr std::array<std::string_view, 5> kValueNames = {"value", "val", "wert", "messwert", "avg"};

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

  // Three columns: the time, one of names, one of numbers.
  void FindLongByContent(std::optional<std::size_t>& tag, std::optional<std::size_t>& value) const {
    if (layout_.names.size() != 3 || layout_.clock_column) return;
    const auto numbers = [&](std::size_t column) {
      return std::any_of(sample_.rows().begin(), sample_.rows().end(), [&](const auto& row) {
        return sample_.IsTimed(row) && column < row.cells.size() &&
               (IsNumber(row.cells[column], '.') || IsNumber(row.cells[column], ','));
      });
    };
    std::vector<std::size_t> rest;
    for (std::size_t i = 0; i < 3; ++i) {
      if (i != layout_.time_column) rest.push_back(i);
    }
    for (const auto& [a, b] : {std::pair(rest[0], rest[1]), std::pair(rest[1], rest[0])}) {
      const bool texts =
          std::all_of(sample_.rows().begin(), sample_.rows().end(), [&, column = a](const auto& row) {
            double ignored = 0;
            std::string problem;
            return !sample_.IsTimed(row) || column >= row.cells.size() ||
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
    for (std::size_t i = 0; i < layout_.names.size(); ++i) {
      if (i == layout_.time_column || i == layout_.clock_column || IsIgnored(i)) continue;
      layout_.shape == Layout::Shape::Long ? CheckLongColumn(i) : AddTagColumn(i);
    }
    if (layout_.shape == Layout::Shape::Wide && layout_.tag_columns.empty())
      Refuse("has no column of values");
  }

  void CheckLongColumn(std::size_t column) const {
    if (column == layout_.tag_column || column == layout_.value_column) return;
    Refuse("column " + std::to_string(column + 1) + " (" + OneLine(layout_.names[column]) +
           ") is neither time, tag nor value; --ignore " + Quote(layout_.names[column]) + " leaves it out");
  }

  void AddTagColumn(std::size_t column) {
    const std::string& name = layout_.names[column];
    const std::string number = std::to_string(column + 1);
    if (name.empty()) Refuse("column " + number + " has no name; --ignore " + number + " leaves it out");
    if (!IsUtf8(name)) Refuse("the name of column " + number + " is not UTF-8; --encoding latin-1?");
    if (name.find('\0') != name.npos) Refuse("the name of column " + number + " holds a zero byte");
    if (!seen_.insert(name).second)
      Refuse("two columns are called " + Quote(name) + "; --columns names them otherwise");
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
