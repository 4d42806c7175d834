// How import --verify compares a file with the store.
#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>

#include "Failure.h"
#include "Import.h"
#include "Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr std::size_t kComparedAtOnce = 20'000;
constexpr int kDigits = 10;

// :1 times in epoch milliseconds, :2 tags, :3 values, one sample each; :4 and :5 the first and the last of
// the times.
constexpr wchar_t kDiffering[] =
    L"select count(*) from unnest(:1::int8[], :2::text[], :3::float8[]) as f (ms, tag, value) "
    L"left join datalog d on d.time = timestamptz 'epoch' + f.ms * interval '1 millisecond' and d.tag_name = f.tag "
    L"and d.time >= timestamptz 'epoch' + :4 * interval '1 millisecond' "
    L"and d.time <= timestamptz 'epoch' + :5 * interval '1 millisecond' "
    L"where d.time is null or d.value is distinct from f.value";

// The value as it is stored.
std::string ValueText(double value) {
  if (value == DBL_MAX) return "NULL";
  std::array<char, 32> text;
  return {
      text.data(),
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, kDigits).ptr};
}

std::string ArrayText(const std::vector<LogSample>& samples, const auto& text_of) {
  std::string out = "{";
  for (const LogSample& sample : samples) {
    if (out.size() > 1) out += ',';
    out += text_of(sample);
  }
  return out + '}';
}

std::string Quoted(const std::string& tag) {
  std::string out = "\"";
  for (const char c : tag) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

std::uint64_t CountDiffering(Server& server, const std::vector<LogSample>& samples) {
  const auto bind = [&](SACommand& command) {
    const auto add = [&](const auto& text_of) {
      command << SAString(sys::FromUtf8(ArrayText(samples, text_of)));
    };
    add([](const LogSample& sample) { return std::to_string(sample.timeMs); });
    add([](const LogSample& sample) { return Quoted(sys::ToUtf8(sample.tagName)); });
    add([](const LogSample& sample) { return ValueText(sample.value); });
    const auto earlier = [](const LogSample& a, const LogSample& b) { return a.timeMs < b.timeMs; };
    const auto [first, last] = std::minmax_element(samples.begin(), samples.end(), earlier);
    command << static_cast<double>(first->timeMs) << static_cast<double>(last->timeMs);
  };
  std::uint64_t differing = 0;
  server.Query(kDiffering, bind,
               [&](SACommand& row) { differing = static_cast<std::uint64_t>(row.Field(1).asInt64()); });
  return differing;
}

}  // namespace

std::uint64_t CountDiffering(Server& server, Plan& plan, Terminal& terminal) {
  Progress progress(terminal, "comparing", "samples");
  plan.file->Rewind();
  std::uint64_t differing = 0, compared = 0;
  std::vector<LogSample> samples;
  BadRow bad;
  for (auto result = SampleFile::Result::Row; result != SampleFile::Result::End;) {
    result = plan.file->ReadRow(samples, bad);
    if (samples.empty() || (samples.size() < kComparedAtOnce && result != SampleFile::Result::End)) continue;
    ThrowIfInterrupted();
    differing += CountDiffering(server, samples);
    compared += samples.size();
    samples.clear();
    progress.Show(plan.file->share(), compared);
  }
  return differing;
}

}  // namespace historian::command
