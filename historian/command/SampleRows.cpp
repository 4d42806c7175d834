#include "SampleRows.h"

#include <nlohmann/json.hpp>

#include "port/Utf8.h"

namespace historian::command {
namespace {

// :1 from, :2 to (epoch milliseconds, both included), :3 an array of tags, NULL for all of them.
constexpr wchar_t kFromSamples[] =
    L" from datalog where time >= to_timestamp(:1 / 1000.0) and time <= to_timestamp(:2 / 1000.0) "
    L"and (:3::text[] is null or tag_name = any(:3::text[]))";

void BindRange(SACommand& command, const std::vector<std::string>& tags, Time from, Time to) {
  command << static_cast<long long>(from.time_since_epoch().count())
          << static_cast<long long>(to.time_since_epoch().count());
  BindTags(command, tags);
}

// Puts the text between double quotes, with `escape` before each special character.
std::string Quoted(const std::string& text, std::string_view specials, char escape) {
  std::string out = "\"";
  for (const char c : text) {
    if (specials.find(c) != specials.npos) out += escape;
    out += c;
  }
  return out + '"';
}

}  // namespace

void BindTags(SACommand& command, const std::vector<std::string>& tags) {
  if (tags.empty()) {
    command << SANull();
    return;
  }
  std::string array = "{";
  for (const std::string& tag : tags) {
    if (array.size() > 1) array += ',';
    array += Quoted(tag, "\"\\", '\\');
  }
  command << SAString(sys::FromUtf8(array + '}'));
}

std::string CsvCell(const std::string& text) {
  const bool plain = !text.empty() && text.find_first_of(",\"\r\n") == text.npos && text[0] != '#' &&
                     text.front() != ' ' && text.front() != '\t' && text.back() != ' ' && text.back() != '\t';
  return plain ? text : Quoted(text, "\"", '"');
}

std::uint64_t CountSamples(Server& server, const std::vector<std::string>& tags, Time from, Time to,
                           std::uint64_t most) {
  const std::wstring statement =
      std::wstring(L"select count(*) from (select") + kFromSamples + L" limit :4) sample";
  return std::stoull(server.Value(statement, [&](SACommand& command) {
    BindRange(command, tags, from, to);
    command << static_cast<long long>(most);
  }));
}

void ReadSamples(Server& server, const std::vector<std::string>& tags, Time from, Time to,
                 const OnSample& sample) {
  const std::wstring statement =
      std::wstring(L"select (extract(epoch from time) * 1000000)::int8, tag_name, value") + kFromSamples +
      L" order by time, tag_name";
  const auto bind = [&](SACommand& command) { BindRange(command, tags, from, to); };
  server.Query(statement, bind, [&](SACommand& row) {
    sample(Microseconds(std::chrono::microseconds(row.Field(1).asInt64())), Text(row.Field(2)),
           row.Field(3).isNull() ? "null" : Text(row.Field(3)));
  });
}

LongWriter::LongWriter(std::ostream& out, const Zone& zone) : SampleWriter(out, zone) {
  out_ << "time,tag,value\n";
}

void LongWriter::Add(Microseconds time, const std::string& tag, const std::string& value) {
  out_ << TimeText(time) << ',' << CsvCell(tag) << ',' << value << '\n';
}

void JsonWriter::Add(Microseconds time, const std::string& tag, const std::string& value) {
  out_ << R"({"time":")" << TimeText(time) << R"(","tag":)" << nlohmann::json(tag).dump() << R"(,"value":)"
       << value << "}\n";
}

WideWriter::WideWriter(std::ostream& out, const Zone& zone, const std::vector<std::string>& tags)
    : SampleWriter(out, zone), cells_(tags.size()) {
  out_ << "time";
  for (const std::string& tag : tags) {
    columns_.emplace(tag, columns_.size());
    out_ << ',' << CsvCell(tag);
  }
  out_ << '\n';
}

void WideWriter::Add(Microseconds time, const std::string& tag, const std::string& value) {
  if (time != time_) End();
  time_ = time;
  cells_[columns_.at(tag)] = value;
  filled_ = true;
}

void WideWriter::End() {
  if (!filled_) return;
  out_ << TimeText(time_);
  for (std::string& cell : cells_) {
    out_ << ',' << cell;
    cell.clear();
  }
  out_ << '\n';
  filled_ = false;
}

}  // namespace historian::command
