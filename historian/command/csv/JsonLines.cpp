// Reads files of JSON lines, as export writes them: {"time": "2026-11-21T20:40:05Z", "tag": "PUMP.SPEED",
// "value": 21.5}
#include <algorithm>
#include <cfloat>
#include <nlohmann/json.hpp>

#include "../Text.h"
#include "SampleFile.h"

namespace historian::command {
namespace {

const char* ReadMembers(const std::string& line, nlohmann::json& sample) {
  sample = nlohmann::json::parse(line, nullptr, false);
  if (sample.is_discarded() || !sample.is_object()) return "is not a JSON object";
  if (!sample.contains("time") || !sample["time"].is_string()) return "has no \"time\" that is a text";
  if (!sample.contains("tag") || !sample["tag"].is_string()) return "has no \"tag\" that is a text";
  if (!sample.contains("value")) return "has no \"value\"";
  if (!sample["value"].is_number() && !sample["value"].is_null())
    return "has a \"value\" that is neither a number nor null";
  return nullptr;
}

}  // namespace

// The next line that is not blank.
bool SampleFile::ReadJsonText(std::string& line) {
  do {
    std::size_t end = lines_.find('\n', lines_at_);
    while (end == std::string::npos) {
      lines_.erase(0, lines_at_);
      lines_at_ = 0;
      if (!text_.Read(lines_)) break;
      end = lines_.find('\n');
    }
    if (lines_at_ == lines_.size()) return false;
    line = lines_.substr(lines_at_, end - lines_at_);
    lines_at_ = std::min(end, lines_.size() - 1) + 1;
    if (line.ends_with('\r')) line.pop_back();
    ++json_line_;
  } while (Trim(line).empty());
  return true;
}

SampleFile::Result SampleFile::ReadJsonLine(std::vector<LogSample>& samples, BadRow& bad) {
  std::string line;
  if (!ReadJsonText(line)) return Result::End;
  bad = {json_line_, {}, {}};
  nlohmann::json sample;
  if (const char* problem = ReadMembers(line, sample)) {
    bad.problem = Quote(line) + ' ' + problem;
    return Result::Bad;
  }
  Time time;
  std::string problem;
  const auto text = sample["time"].get<std::string>();
  if (!times_.Read(text, time, problem)) {
    bad = {json_line_, "time", Quote(text) + ' ' + problem};
    return Result::Bad;
  }
  const std::wstring* tag = TagNamed(sample["tag"].get<std::string>(), bad);
  if (tag == nullptr) {
    bad.column = "tag";
    return Result::Bad;
  }
  const double value = sample["value"].is_null() ? DBL_MAX : sample["value"].get<double>();
  samples.push_back({time.time_since_epoch().count(), *tag, value});
  return Result::Row;
}

}  // namespace historian::command
