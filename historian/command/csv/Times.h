#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "../Zone.h"

namespace historian::command {

// How a file writes its times.
struct TimeFormat {
  enum class Kind {
    Iso,                // 2026-11-21 20:40:05.123, 2026-11-21T20:40:05+01:00
    German,             // 21.11.2026 20:40:05
    American,           // 11/21/2026 8:40:05 PM
    European,           // 21/11/2026 20:40:05
    YearFirst,          // 2026/11/21 20:40:05
    MonthName,          // 21-Nov-2026 20:40:05
    EpochSeconds,       // 1795293605.123
    EpochMilliseconds,  // 1795293605123
    Excel,              // 46347.8611690: days since 1899-12-30, as spreadsheets count them
    Pattern             // as given: %d%m%Y %H%M
  };
  Kind kind = Kind::Iso;
  std::string pattern;
};

// iso, german, us, eu, ymd, month-name, epoch, epoch-ms, excel, or a pattern.
std::string NameOf(const TimeFormat& format);
// Throws a Refusal for any other text.
TimeFormat TimeFormatNamed(const std::string& name);

// The formats that can read all of the texts. Days of a spreadsheet are never among them, because any
// measurement could be one.
std::vector<TimeFormat> FormatsOf(const std::vector<std::string>& texts);
// Whether any format reads the text.
bool IsTime(std::string_view text);
// A date without a time of day, and a time of day without a date: some files have a column of each.
bool IsDate(std::string_view text);
bool IsClock(std::string_view text);
// Whether a number could be a day of the years 1982 to 2119 in a spreadsheet.
bool MayBeExcel(std::string_view text);

// Reads times of one format. Times without a zone are in `zone`.
class TimeReader {
 public:
  // `truncate` cuts times to the millisecond; otherwise finer times are refused.
  TimeReader(TimeFormat format, const Zone& zone, bool truncate)
      : format_(std::move(format)), zone_(&zone), truncate_(truncate) {}

  // Returns false when the text is not a time; `problem` is then the end of a sentence that begins with the
  // text.
  bool Read(std::string_view text, Time& time, std::string& problem) const;

 private:
  TimeFormat format_;
  const Zone* zone_;
  bool truncate_;
};

// Reads an instant of the command line: a time as in ISO 8601, "now", or a duration before `end` (by default
// now): 30m, 24h, 7d, 1y. Throws a Refusal that names the option.
Time ReadTimeArgument(const std::string& option, const std::string& text, const Zone& zone,
                      std::optional<Time> end = {});

}  // namespace historian::command
