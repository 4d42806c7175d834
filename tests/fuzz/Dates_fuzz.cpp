// Dates in the server's text: written fields are read back, and any other text that is accepted gives fields
// in their ranges.

#include <SQLAPI.h>

#include "Fuzz.h"
#include "client/pq/DateTimeText.h"

namespace {

struct Fields {
  int year, month, day, hour, minute, second;
  unsigned nanoseconds;

  bool operator==(const Fields&) const = default;
};

Fields FieldsOf(const SADateTime& date) {
  return {date.GetYear(),   date.GetMonth(),  date.GetDay(),  date.GetHour(),
          date.GetMinute(), date.GetSecond(), date.Fraction()};
}

// As the server writes a timestamp, with a zone or without.
std::string Text(const Fields& f, const char* zone) {
  const int year = f.year > 0 ? f.year : 1 - f.year;
  char text[96];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%09u%s%s", year, f.month, f.day, f.hour,
                f.minute, f.second, f.nanoseconds, zone, f.year > 0 ? "" : " BC");
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  constexpr const char* kZones[] = {"", "+00", "-03:30", "+05:53:28", "Z"};
  const Fields written = {static_cast<int>(input.Take<std::uint32_t>() % 300000) - 4713,
                          static_cast<int>(input.Below(12)) + 1,
                          static_cast<int>(input.Below(28)) + 1,
                          static_cast<int>(input.Below(24)),
                          static_cast<int>(input.Below(60)),
                          static_cast<int>(input.Below(60)),
                          input.Take<std::uint32_t>() % 1'000'000'000};
  REQUIRE(FieldsOf(pq::ParseDateTime(Text(written, kZones[input.Below(5)]))) == written);

  const std::string_view text = input.Rest();
  try {
    const Fields read = FieldsOf(pq::ParseDateTime(text));
    REQUIRE(text.find_first_not_of("0123456789-:. +TZBC") == std::string_view::npos);
    REQUIRE(read.year >= 1 - 9'999'999 && read.year <= 9'999'999);
    REQUIRE(read.month >= 1 && read.month <= 12 && read.day >= 1 && read.day <= 31);
    REQUIRE(read.hour >= 0 && read.hour <= 24 && read.minute >= 0 && read.minute <= 59);
    REQUIRE(read.second >= 0 && read.second <= 60 && read.nanoseconds < 1'000'000'000);
    REQUIRE(FieldsOf(pq::ParseDateTime(Text(read, ""))) == read);
  } catch (const SAException& error) {
    REQUIRE(error.ErrClass() == SA_Library_Error);
  }
  return 0;
}
