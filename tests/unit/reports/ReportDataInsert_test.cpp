#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kAnalogMinute[] =
    L"insert into report_data_analog_minute values(to_timestamp(:1),:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(:10),:11,to_timestamp(:12)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kTwoAnalogMinutes[] =
    L"insert into report_data_analog_minute values(to_timestamp(:1),:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(:10),:11,to_timestamp(:12)),(to_timestamp(:13),:14,:15,:16,:17,:18,:19,:20,:21,to_timestamp(:22),:23,to_timestamp(:24)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kAnalogHour[] =
    L"insert into report_data_analog_hour values(to_timestamp(:1),:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(:10),:11,to_timestamp(:12),:13,:14,:15,to_timestamp(:16),:17,to_timestamp(:18)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kTwoAnalogHours[] =
    L"insert into report_data_analog_hour values(to_timestamp(:1),:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(:10),:11,to_timestamp(:12),:13,:14,:15,to_timestamp(:16),:17,to_timestamp(:18)),(to_timestamp(:19),:20,:21,:22,:23,:24,:25,:26,:27,to_timestamp(:28),:29,to_timestamp(:30),:31,:32,:33,to_timestamp(:34),:35,to_timestamp(:36)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kDigitalMinute[] =
    L"insert into report_data_digital_minute values(to_timestamp(:1),:2,:3,:4,:5,:6,to_timestamp(:7),:8,to_timestamp(:9)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kTwoDigitalMinutes[] =
    L"insert into report_data_digital_minute values(to_timestamp(:1),:2,:3,:4,:5,:6,to_timestamp(:7),:8,to_timestamp(:9)),(to_timestamp(:10),:11,:12,:13,:14,:15,to_timestamp(:16),:17,to_timestamp(:18)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kDigitalHour[] =
    L"insert into report_data_digital_hour values(to_timestamp(:1),:2,:3,:4,:5,:6,to_timestamp(:7),:8,to_timestamp(:9),:10,:11,to_timestamp(:12),:13,to_timestamp(:14)) ON CONFLICT (time, tag_name) DO NOTHING";
constexpr wchar_t kTwoDigitalHours[] =
    L"insert into report_data_digital_hour values(to_timestamp(:1),:2,:3,:4,:5,:6,to_timestamp(:7),:8,to_timestamp(:9),:10,:11,to_timestamp(:12),:13,to_timestamp(:14)),(to_timestamp(:15),:16,:17,:18,:19,:20,to_timestamp(:21),:22,to_timestamp(:23),:24,:25,to_timestamp(:26),:27,to_timestamp(:28)) ON CONFLICT (time, tag_name) DO NOTHING";

const ReportAnalogData kAnalog = {1700000000, L"PUMP", -2147483647, 2.5,        3.5,  4.5,
                                  5.5,        6.5,     7.5,         1700000001, 8.5,  1700000002,
                                  9.5,        10.5,    11.5,        1700000003, 12.5, 1700000004};
const Texts kAnalogMinuteBinds = {L"int8 1700000000", L"text PUMP",  L"int4 -2147483647",
                                  L"float8 2.5",      L"float8 3.5", L"float8 4.5",
                                  L"float8 5.5",      L"float8 6.5", L"float8 7.5",
                                  L"int8 1700000001", L"float8 8.5", L"int8 1700000002"};
const Texts kAnalogHourBinds = {
    L"int8 1700000000", L"text PUMP",       L"int4 -2147483647", L"float8 2.5",  L"float8 3.5",
    L"float8 4.5",      L"float8 5.5",      L"float8 6.5",       L"float8 7.5",  L"int8 1700000001",
    L"float8 8.5",      L"int8 1700000002", L"float8 9.5",       L"float8 10.5", L"float8 11.5",
    L"int8 1700000003", L"float8 12.5",     L"int8 1700000004"};

const ReportDigitalData kDigital = {1700000000, L"VALVE",   1,   2, 2.5,        3, 1700000001,
                                    4,          1700000002, 5.5, 6, 1700000003, 7, 1700000004};
const Texts kDigitalMinuteBinds = {L"int8 1700000000", L"text VALVE", L"int4 1",
                                   L"int4 2",          L"float8 2.5", L"int4 3",
                                   L"int8 1700000001", L"int4 4",     L"int8 1700000002"};
const Texts kDigitalHourBinds = {
    L"int8 1700000000", L"text VALVE",      L"int4 1", L"int4 2",          L"float8 2.5",
    L"int4 3",          L"int8 1700000001", L"int4 4", L"int8 1700000002", L"float8 5.5",
    L"int4 6",          L"int8 1700000003", L"int4 7", L"int8 1700000004"};

Texts Twice(const Texts& binds) {
  Texts all = binds;
  all.insert(all.end(), binds.begin(), binds.end());
  return all;
}

class ReportDataInsert : public ScriptedTest {
 protected:
  // The one statement of an insert; its binds are left in `binds`.
  std::wstring Analog(const wchar_t* period, const std::vector<ReportAnalogData>& rows) {
    server.Forget();
    EXPECT_TRUE(dbms->InsertReportAnalogData(period, rows));
    return TheStatement();
  }
  std::wstring Digital(const wchar_t* period, const std::vector<ReportDigitalData>& rows) {
    server.Forget();
    EXPECT_TRUE(dbms->InsertReportDigitalData(period, rows));
    return TheStatement();
  }
  std::wstring TheStatement() {
    EXPECT_EQ(server.sent.size(), 1u);
    if (server.sent.size() != 1) return {};
    binds = server.sent[0].binds;
    return server.sent[0].statement;
  }

  Texts binds;
};

TEST_F(ReportDataInsert, AnAnalogMinuteHasTwelveValues) {
  EXPECT_EQ(Analog(L"minute", {kAnalog}), kAnalogMinute);
  EXPECT_EQ(binds, kAnalogMinuteBinds);
}

TEST_F(ReportDataInsert, AnAnalogHourHasEighteenValues) {
  EXPECT_EQ(Analog(L"hour", {kAnalog}), kAnalogHour);
  EXPECT_EQ(binds, kAnalogHourBinds);
}

TEST_F(ReportDataInsert, ADigitalMinuteHasNineValues) {
  EXPECT_EQ(Digital(L"minute", {kDigital}), kDigitalMinute);
  EXPECT_EQ(binds, kDigitalMinuteBinds);
}

TEST_F(ReportDataInsert, ADigitalHourHasFourteenValues) {
  EXPECT_EQ(Digital(L"hour", {kDigital}), kDigitalHour);
  EXPECT_EQ(binds, kDigitalHourBinds);
}

TEST_F(ReportDataInsert, ParametersAreCountedAcrossTheRows) {
  EXPECT_EQ(Analog(L"minute", {kAnalog, kAnalog}), kTwoAnalogMinutes);
  EXPECT_EQ(binds, Twice(kAnalogMinuteBinds));
  EXPECT_EQ(Analog(L"hour", {kAnalog, kAnalog}), kTwoAnalogHours);
  EXPECT_EQ(binds, Twice(kAnalogHourBinds));
  EXPECT_EQ(Digital(L"minute", {kDigital, kDigital}), kTwoDigitalMinutes);
  EXPECT_EQ(binds, Twice(kDigitalMinuteBinds));
  EXPECT_EQ(Digital(L"hour", {kDigital, kDigital}), kTwoDigitalHours);
  EXPECT_EQ(binds, Twice(kDigitalHourBinds));
}

TEST_F(ReportDataInsert, EveryLongerPeriodHasItsTable) {
  const auto ending = [](const std::wstring& text) { return text.substr(text.find(L" values")); };
  for (const std::wstring period : {L"hour", L"day", L"month", L"year"}) {
    EXPECT_EQ(Analog(period.c_str(), {kAnalog}),
              L"insert into report_data_analog_" + period + ending(kAnalogHour));
    EXPECT_EQ(Digital(period.c_str(), {kDigital}),
              L"insert into report_data_digital_" + period + ending(kDigitalHour));
  }
}

TEST_F(ReportDataInsert, KeepsTheLongRowForAllThatIsNotExactlyMinute) {
  for (const wchar_t* period : {L"Minute", L"minute ", L" minute", L"minutes", L"minut", L"", L"shift"}) {
    Analog(period, {kAnalog});
    EXPECT_EQ(binds.size(), 18u) << period;
    Digital(period, {kDigital});
    EXPECT_EQ(binds.size(), 14u) << period;
  }
  EXPECT_EQ(
      Digital(L"hour as h", {kDigital}),
      L"insert into report_data_digital_hour as h values(to_timestamp(:1),:2,:3,:4,:5,:6,to_timestamp(:7),:8,to_timestamp(:9),:10,:11,to_timestamp(:12),:13,to_timestamp(:14)) ON CONFLICT (time, tag_name) DO NOTHING");
}

TEST_F(ReportDataInsert, KeepsTheDamagedStatementOfAnEmptyVector) {
  ASSERT_TRUE(dbms->Connect());
  for (std::size_t k = 1; k <= 4; ++k) server.FailStatement(k, {3, 7, L"ERROR:  syntax error"});
  EXPECT_FALSE(dbms->InsertReportAnalogData(L"minute", {}));
  EXPECT_FALSE(dbms->InsertReportAnalogData(L"year", {}));
  EXPECT_FALSE(dbms->InsertReportDigitalData(L"minute", {}));
  EXPECT_FALSE(dbms->InsertReportDigitalData(L"year", {}));
  EXPECT_EQ(server.Statements(),
            (Texts{L"insert into report_data_analog_minute value ON CONFLICT (time, tag_name) DO NOTHING",
                   L"insert into report_data_analog_year value ON CONFLICT (time, tag_name) DO NOTHING",
                   L"insert into report_data_digital_minute value ON CONFLICT (time, tag_name) DO NOTHING",
                   L"insert into report_data_digital_year value ON CONFLICT (time, tag_name) DO NOTHING"}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

TEST_F(ReportDataInsert, TagNamesAreBoundWhateverTheyHold) {
  ReportAnalogData row = kAnalog;
  row.tag_name = L"it's :1 \\ \x6E29\x5EA6";
  EXPECT_EQ(Analog(L"minute", {row}), kAnalogMinute);
  EXPECT_EQ(binds[1], L"text it's :1 \\ \x6E29\x5EA6");
}

TEST_F(ReportDataInsert, TheWidestValuesKeepTheirTypes) {
  const ReportDigitalData row = {INT64_MIN, L"", INT32_MIN, INT32_MAX, -0.0, -1, INT64_MAX,
                                 0,         -1,  0,         0,         0,    0,  0};
  Digital(L"minute", {row});
  EXPECT_EQ(binds, (Texts{L"int8 -9223372036854775808", L"text ", L"int4 -2147483648", L"int4 2147483647",
                          L"float8 -0", L"int4 -1", L"int8 9223372036854775807", L"int4 0", L"int8 -1"}));
}

TEST_F(ReportDataInsert, ThreeThousandRowsAreOneStatement) {
  const std::wstring text = Analog(L"hour", std::vector<ReportAnalogData>(3000, kAnalog));
  EXPECT_EQ(binds.size(), 54000u);
  const std::wstring ending =
      L",(to_timestamp(:53983),:53984,:53985,:53986,:53987,:53988,:53989,:53990,:53991,to_timestamp(:53992),:53993,to_timestamp(:53994),:53995,:53996,:53997,to_timestamp(:53998),:53999,to_timestamp(:54000)) ON CONFLICT (time, tag_name) DO NOTHING";
  EXPECT_TRUE(text.ends_with(ending)) << text.size();
}

}  // namespace
