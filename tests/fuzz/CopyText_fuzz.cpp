// The text of COPY: an independent reader of the format returns every sample, with its value in ten digits as
// the C library writes them.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/history/CopyText.h"
#include "Fuzz.h"
#include "port/Utf8.h"

namespace {

// A field of a line, unescaped; the null marker is kept apart.
struct Field {
  bool null = false;
  std::string text;
};
using Line = std::vector<Field>;

// Reads text of COPY as the server's manual describes it.
std::vector<Line> ReadCopy(const std::string& text) {
  std::vector<Line> lines;
  Line line(1);
  std::string raw;
  const auto endField = [&] {
    if (raw == "\\N") line.back().null = true;
    raw.clear();
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\t' || c == '\n') {
      REQUIRE(raw != "\\.");  // would end the data
      endField();
      if (c == '\t') {
        line.emplace_back();
      } else {
        lines.push_back(line);
        line = Line(1);
      }
      continue;
    }
    REQUIRE(c != '\r');  // a line end that differs from the others is refused
    raw += c;
    if (c != '\\') {
      line.back().text += c;
      continue;
    }
    REQUIRE(i + 1 < text.size());
    const char escaped = text[++i];
    raw += escaped;
    constexpr std::string_view kNames = "bfnrtv", kMeans = "\b\f\n\r\t\v";
    const std::size_t known = kNames.find(escaped);
    REQUIRE(escaped != 'x' && (escaped < '0' || escaped > '9'));
    line.back().text += known == std::string_view::npos ? escaped : kMeans[known];
  }
  REQUIRE(raw.empty() && line.size() == 1);
  return lines;
}

std::string TenDigits(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

void RequireShortest(double value) {
  const std::wstring wide = ShortestText(value);
  const std::string text(wide.begin(), wide.end());
  REQUIRE(std::strtod(text.c_str(), nullptr) == value);
  char printed[40];
  for (int digits = 1; digits <= 17; ++digits) {
    std::snprintf(printed, sizeof printed, "%.*e", digits - 1, value);
    if (std::strtod(printed, nullptr) != value) continue;
    std::string bare;  // the digits of the text without the zeros at its ends
    for (const char c : text.substr(0, text.find('e'))) bare += c >= '0' && c <= '9' ? std::string(1, c) : "";
    bare.erase(0, std::min(bare.find_first_not_of('0'), bare.size()));
    bare.erase(bare.find_last_not_of('0') + 1);
    // A whole number may be written with all its digits.
    REQUIRE(bare.size() <= static_cast<std::size_t>(digits) ||
            (std::trunc(value) == value && text.find('e') == text.npos));
    return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  std::vector<LogSample> samples;
  std::string text;
  while (!input.empty()) {
    LogSample sample;
    sample.timeMs = input.Take<std::int64_t>();
    sample.value = input.Below(16) == 0 ? DBL_MAX : input.Take<double>();
    sample.tagName = sys::FromUtf8(input.Bytes(input.Take<std::uint8_t>()));
    if (std::isfinite(sample.value)) RequireShortest(sample.value);
    if (!IsStorable(sample) || sample.tagName.find(L'\0') != std::wstring::npos) continue;
    AppendCopyLine(text, sample.timeMs, EscapeForCopy(sample.tagName), sample.value);
    samples.push_back(sample);
  }
  const std::vector<Line> lines = ReadCopy(text);
  REQUIRE(lines.size() == samples.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    REQUIRE(lines[i].size() == 3);
    char seconds[40];
    std::snprintf(seconds, sizeof seconds, "%lld.%03d", static_cast<long long>(samples[i].timeMs / 1000),
                  static_cast<int>(samples[i].timeMs % 1000));
    REQUIRE(lines[i][0].text == seconds && !lines[i][0].null);
    REQUIRE(lines[i][1].text == sys::ToUtf8(samples[i].tagName) && !lines[i][1].null);
    REQUIRE(lines[i][2].null == (samples[i].value == DBL_MAX));
    if (!lines[i][2].null) REQUIRE(lines[i][2].text == TenDigits(samples[i].value));
  }
  return 0;
}
