#include "SampleFile.h"

#include <algorithm>
#include <cfloat>

#include "../Failure.h"
#include "../Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

std::int64_t Milliseconds(Time time) { return time.time_since_epoch().count(); }

}  // namespace

std::string BadRow::Describe(const std::string& file) const {
  std::string text = OneLine(file) + ':' + std::to_string(line);
  if (!column.empty()) text += ", column " + OneLine(column, 80);
  return text + ": " + problem;
}

SampleFile::SampleFile(const std::string& path, std::string name, FileOptions options, const Zone& zone)
    : bytes_(path),
      name_(std::move(name)),
      options_(std::move(options)),
      layout_(DetectLayout(bytes_, options_)),
      text_(bytes_, layout_.encoding),
      times_(layout_.time_format, zone, options_.truncate_times),
      numbers_(layout_.decimal, options_.null_words) {
  for (const std::size_t column : layout_.tag_columns) tags_.push_back(sys::FromUtf8(layout_.names[column]));
  Rewind();
}

void SampleFile::Rewind() {
  text_.Rewind();
  reader_ = std::make_unique<CsvReader>(text_, layout_.delimiter);
  lines_.clear();
  lines_at_ = 0;
  json_line_ = 0;
}

double SampleFile::share() const {
  return size() == 0 ? 1 : static_cast<double>(bytes_.position()) / static_cast<double>(size());
}

SampleFile::Result SampleFile::ReadRow(std::vector<LogSample>& samples, BadRow& bad) {
  if (layout_.shape == Layout::Shape::JsonLines) return ReadJsonLine(samples, bad);
  do {
    if (!reader_->ReadRow(cells_)) return Result::End;
  } while (reader_->line() < layout_.first_data_line);
  bad = {reader_->line(), {}, {}};
  const std::size_t kept = samples.size();
  const auto read = [&] {
    if (!reader_->problem().what.empty())
      return Reject(bad, reader_->problem().column, reader_->problem().what);
    while (cells_.size() > layout_.names.size() && cells_.back().empty()) cells_.pop_back();
    if (cells_.size() != layout_.names.size()) {
      bad.problem = "the row has " + Count(cells_.size(), "cell") + ", the header row has " +
                    std::to_string(layout_.names.size());
      return false;
    }
    Time time;
    std::string_view text = cells_[layout_.time_column];
    if (layout_.clock_column) {
      joined_time_.assign(Trim(text)).append(" ").append(Trim(cells_[*layout_.clock_column]));
      text = joined_time_;
    }
    if (!ReadTime(text, time, bad)) return false;
    return layout_.shape == Layout::Shape::Wide ? ReadWide(time, samples, bad) : ReadLong(time, samples, bad);
  };
  if (read()) return Result::Row;
  samples.resize(kept);
  return Result::Bad;
}

bool SampleFile::Reject(BadRow& bad, std::size_t column, std::string problem) const {
  bad.column = std::to_string(column + 1);
  if (column < layout_.names.size()) bad.column += " (" + layout_.names[column] + ')';
  bad.problem = std::move(problem);
  return false;
}

bool SampleFile::ReadTime(std::string_view text, Time& time, BadRow& bad) const {
  std::string problem;
  if (times_.Read(text, time, problem)) return true;
  return Reject(bad, layout_.time_column, Quote(Trim(text)) + ' ' + problem);
}

bool SampleFile::ReadWide(Time time, std::vector<LogSample>& samples, BadRow& bad) {
  for (std::size_t i = 0; i < tags_.size(); ++i) {
    if (!AddValue(time, tags_[i], layout_.tag_columns[i], samples, bad)) return false;
  }
  return true;
}

bool SampleFile::ReadLong(Time time, std::vector<LogSample>& samples, BadRow& bad) {
  const std::wstring* tag = TagNamed(cells_[layout_.tag_column], bad);
  return tag != nullptr && AddValue(time, *tag, layout_.value_column, samples, bad);
}

// Files repeat their tags, so converted names are kept.
const std::wstring* SampleFile::TagNamed(std::string_view name, BadRow& bad) {
  const auto found = tag_names_.find(std::string(name));
  if (found != tag_names_.end()) return &found->second;
  const char* problem = nullptr;
  if (name.empty()) {
    problem = "the tag has no name";
  } else if (!IsUtf8(name)) {
    problem = "the tag's name is not UTF-8 (--encoding latin-1?)";
  } else if (name.find('\0') != name.npos) {
    problem = "the tag's name holds a zero byte";
  }
  if (problem == nullptr) return &tag_names_.emplace(name, sys::FromUtf8(name)).first->second;
  Reject(bad, layout_.tag_column, problem);
  return nullptr;
}

bool SampleFile::AddValue(Time time, const std::wstring& tag, std::size_t column,
                          std::vector<LogSample>& samples, BadRow& bad) {
  double value = 0;
  std::string problem;
  switch (numbers_.Read(cells_[column], value, problem)) {
    case NumberReader::Kind::Number: break;
    case NumberReader::Kind::Null: value = DBL_MAX; break;
    case NumberReader::Kind::Empty:
      if (!options_.empty_is_null) return true;
      value = DBL_MAX;
      break;
    case NumberReader::Kind::Wrong: return Reject(bad, column, Quote(Trim(cells_[column])) + ' ' + problem);
  }
  samples.push_back({Milliseconds(time), tag, value});
  return true;
}

}  // namespace historian::command
