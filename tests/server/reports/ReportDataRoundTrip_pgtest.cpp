// Stored rows are read back, whatever they hold and in every time zone of process and session.

#include <SQLAPI.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "WideText.h"
#include "server/Zone.h"
#include "server/reports/ReportRows.h"
#include "server/reports/ReportStoreTest.h"

namespace {

using AnalogByTag = std::unordered_map<std::wstring, std::vector<ReportAnalogData>>;
using DigitalByTag = std::unordered_map<std::wstring, std::vector<ReportDigitalData>>;

constexpr int kRows = 300;
constexpr std::int64_t kFirst32 = INT32_MIN, kLast32 = INT32_MAX;

// Rows of random values, within the ranges that are read back unchanged.
class Random {
 public:
  explicit Random(unsigned start) : engine_(start) {}

  // Near a clock change local time is ambiguous.
  std::int64_t Time() {
    for (;;) {
      const std::int64_t time = Int32();
      if (platform::IsSettled(time)) return time;
    }
  }
  std::int32_t Int32() { return static_cast<std::int32_t>(engine_()); }
  double Double() {
    for (;;) {
      const double value = std::bit_cast<double>(std::uint64_t{engine_()} << 32 | engine_());
      if (!std::isnan(value)) return value;  // NaNs lose their payload
    }
  }
  // Characters of every plane, but no quote: queries splice names.
  std::wstring Text() {
    std::u32string text;
    for (auto length = engine_() % 12; length > 0; --length) {
      char32_t c = 0;
      while (c == 0 || c == U'\'' || (c >= 0xD800 && c <= 0xDFFF)) c = Character();
      text += c;
    }
    return Wide(text);
  }

  ReportAnalogData Analog() {
    return {Time(), Text(),   Int32(), Double(), Double(), Double(), Double(), Double(), Double(),
            Time(), Double(), Time(),  Double(), Double(), Double(), Time(),   Double(), Time()};
  }
  ReportDigitalData Digital() {
    return {Time(),  Text(), Int32(),  Int32(), Double(), Int32(), Time(),
            Int32(), Time(), Double(), Int32(), Time(),   Int32(), Time()};
  }

 private:
  char32_t Character() {
    const auto plane = static_cast<char32_t>(engine_() % 18);
    if (plane == 17) return static_cast<char32_t>(engine_() % 0x80);
    return plane << 16 | static_cast<char32_t>(engine_() & 0xFFFF);
  }

  std::mt19937 engine_;
};

template <class Row>
std::unordered_map<std::wstring, std::vector<Row>> TagsOf(const std::vector<Row>& rows) {
  std::unordered_map<std::wstring, std::vector<Row>> tags;
  for (const Row& row : rows) tags[row.tag_name];
  return tags;
}

template <class Row>
void ExpectAll(const std::unordered_map<std::wstring, std::vector<Row>>& data, const std::vector<Row>& rows) {
  std::size_t count = 0;
  for (const auto& [tag, stored] : data) count += stored.size();
  EXPECT_EQ(count, rows.size());
  for (const Row& row : rows) {
    const auto& stored = data.at(row.tag_name);
    const bool found =
        std::any_of(stored.begin(), stored.end(), [&](const Row& one) { return Fields(one) == Fields(row); });
    EXPECT_TRUE(found) << testing::PrintToString(Fields(row));
  }
}

class ReportDataRoundTrip : public ReportStoreTest, public testing::WithParamInterface<const char*> {
 protected:
  bool Store(const wchar_t* period, const std::vector<ReportAnalogData>& rows) {
    return dbms->InsertReportAnalogData(period, rows);
  }
  bool Store(const wchar_t* period, const std::vector<ReportDigitalData>& rows) {
    return dbms->InsertReportDigitalData(period, rows);
  }
  bool Read(const wchar_t* period, AnalogByTag& data) {
    return dbms->GetReportAnalogData(period, kFirst32, kLast32, data);
  }
  bool Read(const wchar_t* period, DigitalByTag& data) {
    return dbms->GetReportDigitalData(period, kFirst32, kLast32, data);
  }

  // Stores rows of a period and reads them back.
  template <class Make>
  void ExpectReadBack(const wchar_t* period, Make make) {
    std::vector<decltype(make())> rows;
    for (int i = 0; i < kRows; ++i) rows.push_back(make());
    ASSERT_TRUE(Store(period, rows)) << Error();
    auto data = TagsOf(rows);
    ASSERT_TRUE(Read(period, data)) << Error();
    ExpectAll(data, rows);
  }

  Zone zone{GetParam()};
};

TEST_P(ReportDataRoundTrip, TheSessionIsInTheZone) {
  SACommand command(dbms->GetConnection().get(), L"show timezone");
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  EXPECT_EQ(command.Field(1).asString(), SAString(GetParam()));
}

TEST_P(ReportDataRoundTrip, AnalogRows) {
  Random random(1);
  ExpectReadBack(L"hour", [&] { return random.Analog(); });
}

TEST_P(ReportDataRoundTrip, AnalogMinutes) {
  Random random(2);
  ExpectReadBack(L"minute", [&] { return MinuteOf(random.Analog()); });
}

TEST_P(ReportDataRoundTrip, DigitalRows) {
  Random random(3);
  ExpectReadBack(L"year", [&] { return random.Digital(); });
}

TEST_P(ReportDataRoundTrip, DigitalMinutes) {
  Random random(4);
  ExpectReadBack(L"minute", [&] { return MinuteOf(random.Digital()); });
}

TEST_P(ReportDataRoundTrip, TheOutermostValues) {
  const std::int64_t first = std::max(kFirst32, platform::KnownFrom());
  using Limits = std::numeric_limits<double>;
  const ReportAnalogData least = {first,
                                  L"A",
                                  INT32_MIN,
                                  -0.0,
                                  Limits::lowest(),
                                  -Limits::infinity(),
                                  Limits::denorm_min(),
                                  Limits::min(),
                                  -Limits::denorm_min(),
                                  first,
                                  0.0,
                                  first,
                                  -1.0,
                                  -1.0 / 3,
                                  -Limits::epsilon(),
                                  first,
                                  -1e22,
                                  first};
  const ReportAnalogData greatest = {kLast32,
                                     Wide(std::u32string(1000, U'\U0010FFFF')),
                                     INT32_MAX,
                                     0.0,
                                     Limits::max(),
                                     Limits::infinity(),
                                     1.0,
                                     1.0 / 3,
                                     0.1 + 0.2,
                                     kLast32,
                                     5e-324,
                                     kLast32,
                                     1e22,
                                     1e23,
                                     9007199254740993.0,
                                     kLast32,
                                     Limits::epsilon(),
                                     kLast32};
  const std::vector rows = {least, greatest};
  ASSERT_TRUE(dbms->InsertReportAnalogData(L"month", rows)) << Error();
  auto data = TagsOf(rows);
  ASSERT_TRUE(dbms->GetReportAnalogData(L"month", kFirst32, kLast32, data)) << Error();
  ExpectAll(data, rows);
}

TEST_P(ReportDataRoundTrip, KeepsThe32BitCountOfSeconds) {
  ReportDigitalData row;
  row.time = kLast32 + 1;
  row.uptime_min_time = (INT64_C(1) << 32) + 5;
  row.uptime_max_time = platform::KnownFrom() < kFirst32 ? kFirst32 - 1 : kLast32;
  ASSERT_TRUE(dbms->InsertReportDigitalData(L"minute", {row})) << Error();
  EXPECT_EQ(Value("select extract(epoch from time)::bigint from report_data_digital_minute"), "2147483648");
  DigitalByTag data = {{L"", {}}};
  ASSERT_TRUE(dbms->GetReportDigitalData(L"minute", row.time, 0, data)) << Error();
  ASSERT_EQ(data[L""].size(), 1u);
  EXPECT_EQ(data[L""][0].time, kFirst32);
  EXPECT_EQ(data[L""][0].uptime_min_time, 5);
  EXPECT_EQ(data[L""][0].uptime_max_time, kLast32);
}

INSTANTIATE_TEST_SUITE_P(In, ReportDataRoundTrip, testing::Values("UTC", "Asia/Kolkata", "America/St_Johns"),
                         [](const auto& zone) {
                           std::string name = zone.param;
                           for (char& c : name) c = c == '/' ? '_' : c;
                           return name;
                         });

// ---- Ambiguous local times ----

class ReportDataLocalTime : public ReportStoreTest {
 protected:
  // The times that are read for a tag whose rows were stored at these times.
  std::vector<std::int64_t> ThereAndBack(const std::vector<std::int64_t>& times) {
    const auto own = NewDbms();  // connects in the zone of the moment
    ReportAnalogData row;
    row.tag_name = L"A";
    for (const std::int64_t time : times) {
      row.time = time;
      EXPECT_TRUE(own->InsertReportAnalogData(L"hour", {row}));
    }
    AnalogByTag data = {{L"A", {}}};
    EXPECT_TRUE(own->GetReportAnalogData(L"hour", kFirst32, kLast32, data));
    std::vector<std::int64_t> read;
    for (const ReportAnalogData& one : data[L"A"]) read.push_back(one.time);
    return read;
  }
};

TEST_F(ReportDataLocalTime, KeepsTheRepeatedHourOfAClockChangeAmbiguous) {
  const Zone zone("America/St_Johns");
  constexpr std::int64_t kSummer = 1699156800;  // 2023-11-05 01:30 -02:30, and an hour later 01:30 -03:30
  constexpr std::int64_t kWinter = kSummer + 3600;
  const auto read = ThereAndBack({kSummer - 3600, kSummer, kWinter, kWinter + 3600});
  ASSERT_EQ(read.size(), 4u);
  EXPECT_EQ(read[0], kSummer - 3600);
  EXPECT_EQ(read[1], kSummer);
  EXPECT_EQ(read[2], kSummer);
  EXPECT_EQ(read[3], kWinter + 3600);
}

TEST_F(ReportDataLocalTime, TheHourLeftOutByAClockChangeIsNoGap) {
  const Zone zone("America/St_Johns");
  constexpr std::int64_t kSpring = 1678599000;  // 2023-03-12 02:00 -03:30, at once 03:00 -02:30
  const std::vector<std::int64_t> times = {kSpring - 1800, kSpring - 1, kSpring, kSpring + 1800};
  EXPECT_EQ(ThereAndBack(times), times);
}

TEST_F(ReportDataLocalTime, KeepsTakingTheSessionsFieldsForLocalTime) {
  const Zone zone("UTC", "Asia/Kolkata");
  EXPECT_EQ(ThereAndBack({1700000000}), (std::vector<std::int64_t>{1700000000 + 19800}));
}

}  // namespace
