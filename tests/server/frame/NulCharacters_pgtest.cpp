// Texts with a NUL character, which PostgreSQL cannot store: refused, never cut.

#include <functional>

#include "server/DbmsTest.h"

namespace {

const std::wstring kNul(L"a\0b", 3);
const std::wstring kOnlyNul(1, L'\0');

struct Refusal {
  const char* operation;
  const char* table;
  std::function<bool(Dbms&)> call;
};

template <class Record>
Record With(Record record, std::wstring Record::*field, const std::wstring& text) {
  record.*field = text;
  return record;
}

bool InsertUser(Dbms& d, std::wstring UserRecord::*field) {
  return d.InsertUsers({With(UserRecord(), field, kNul)});
}

bool InsertStation(Dbms& d, std::wstring NetworkStatusRecord::*field) {
  return d.InsertNetworkStatus({With(NetworkStatusRecord(), field, kNul)});
}

bool InsertMessage(Dbms& d, std::wstring GooseMessageRecord::*field) {
  GooseMessageRecord message;
  message.invalidityTime = L"0";
  return d.InsertGooseMessage(With(message, field, kNul));
}

bool InsertQueue(Dbms& d, const TagValueRecord& record) {
  std::deque<std::vector<TagValueRecord>> queue = {{record}};
  return d.InsertTagValueQueue(L"page", queue);
}

const std::vector<Refusal> kRefusals = {
    {"InsertTagValueQueue", "page",
     [](Dbms& d) {
       return InsertQueue(d, {1000, kNul, L"1"});
     }},
    {"InsertTagValueQueue", "page",
     [](Dbms& d) {
       return InsertQueue(d, {1000, L"A", kNul});
     }},
    {"InsertTagValues", "page",
     [](Dbms& d) {
       return d.InsertTagValues(L"page", {{1000, kNul, L"1"}});
     }},
    {"InsertTagValues", "page",
     [](Dbms& d) {
       return d.InsertTagValues(L"page",
                                {{1000, L"nul", std::wstring(L"a')\0b", 5)}, {1000, L"after", L"x"}});
     }},
    {"InsertPageTimeList", "pr_timelist",
     [](Dbms& d) {
       return d.InsertPageTimeList(L"page", 1000, {L"op", kNul});
     }},
    {"InsertReportDigitalData", "report_data_digital_hour",
     [](Dbms& d) {
       return d.InsertReportDigitalData(L"hour",
                                        {With(ReportDigitalData(), &ReportDigitalData::tag_name, kNul)});
     }},
    {"InsertReportAnalogData", "report_data_analog_hour",
     [](Dbms& d) {
       return d.InsertReportAnalogData(L"hour",
                                       {With(ReportAnalogData(), &ReportAnalogData::tag_name, kNul)});
     }},
    {"GetReportDigitalData", "report_data_digital_hour",
     [](Dbms& d) {
       std::unordered_map<std::wstring, std::vector<ReportDigitalData>> data = {{kNul, {}}};
       return d.GetReportDigitalData(L"hour", 1, 2, data);
     }},
    {"GetReportAnalogData", "report_data_analog_hour",
     [](Dbms& d) {
       std::unordered_map<std::wstring, std::vector<ReportAnalogData>> data = {{kNul, {}}};
       return d.GetReportAnalogData(L"hour", 1, 2, data);
     }},
    {"InsertEventReportData", "event_report_data",
     [](Dbms& d) {
       return d.InsertEventReportData(L"M", L"S", 1000, {{L"A1", L"x"}, {kNul, L"x"}});
     }},
    {"InsertEventReportData", "event_report_data",
     [](Dbms& d) {
       return d.InsertEventReportData(L"M", L"S", 1000, {{L"A1", L"x"}, {L"A2", kNul}});
     }},
    {"InsertUsers id", "userinfo_table", [](Dbms& d) { return InsertUser(d, &UserRecord::id); }},
    {"InsertUsers username", "userinfo_table", [](Dbms& d) { return InsertUser(d, &UserRecord::username); }},
    {"InsertUsers password", "userinfo_table", [](Dbms& d) { return InsertUser(d, &UserRecord::password); }},
    {"InsertUsers old_password", "userinfo_table",
     [](Dbms& d) { return InsertUser(d, &UserRecord::old_password); }},
    {"InsertUsers user_group", "userinfo_table",
     [](Dbms& d) { return InsertUser(d, &UserRecord::user_group); }},
    {"InsertUsers user_role", "userinfo_table",
     [](Dbms& d) { return InsertUser(d, &UserRecord::user_role); }},
    {"InsertUsers operator_node", "userinfo_table",
     [](Dbms& d) { return InsertUser(d, &UserRecord::operator_node); }},
    {"InsertUsers login_device", "userinfo_table",
     [](Dbms& d) { return InsertUser(d, &UserRecord::login_device); }},
    {"InsertUsers description", "userinfo_table",
     [](Dbms& d) { return InsertUser(d, &UserRecord::description); }},
    {"InsertSystemLog user_id", "system_log",
     [](Dbms& d) {
       return d.InsertSystemLog({{1000, 1, 2, 3, 4, kOnlyNul, L"m"}}) != 0;
     }},
    {"InsertSystemLog message", "system_log",
     [](Dbms& d) {
       return d.InsertSystemLog({{1000, 1, 2, 3, 4, L"op", kNul}}) != 0;
     }},
    {"InsertNetworkStatus station", "network_table",
     [](Dbms& d) { return InsertStation(d, &NetworkStatusRecord::station); }},
    {"InsertNetworkStatus address", "network_table",
     [](Dbms& d) { return InsertStation(d, &NetworkStatusRecord::address); }},
    {"InsertNetworkStatus description", "network_table",
     [](Dbms& d) { return InsertStation(d, &NetworkStatusRecord::description); }},
    {"InsertNetworkStatus status", "network_table",
     [](Dbms& d) { return InsertStation(d, &NetworkStatusRecord::status); }},
    {"InsertComments comment", "comment",
     [](Dbms& d) {
       return d.InsertComments({{1, 2, 3, kNul, L"font"}});
     }},
    {"InsertComments font", "comment",
     [](Dbms& d) {
       return d.InsertComments({{1, 2, 3, L"text", kOnlyNul}});
     }},
    {"InsertRecipeGroups model", "recipe_group",
     [](Dbms& d) {
       return d.InsertRecipeGroups({{kNul, L"g", L"{}"}});
     }},
    {"InsertRecipeGroups group", "recipe_group",
     [](Dbms& d) {
       return d.InsertRecipeGroups({{L"m", kNul, L"{}"}});
     }},
    {"InsertRecipeGroups fields", "recipe_group",
     [](Dbms& d) {
       return d.InsertRecipeGroups({{L"m", L"g", std::wstring(L"{}\0", 3)}});
     }},
    {"InsertGooseMessage GOOSE_ControlBlock_Ref", "iec_goose",
     [](Dbms& d) { return InsertMessage(d, &GooseMessageRecord::GOOSE_ControlBlock_Ref); }},
    {"InsertGooseMessage DataSet", "iec_goose",
     [](Dbms& d) { return InsertMessage(d, &GooseMessageRecord::DataSet); }},
    {"InsertGooseMessage GOOSE_ID", "iec_goose",
     [](Dbms& d) { return InsertMessage(d, &GooseMessageRecord::GOOSE_ID); }},
    {"InsertGooseMessage srcMac", "iec_goose",
     [](Dbms& d) { return InsertMessage(d, &GooseMessageRecord::srcMac); }},
    {"InsertGooseMessage dstMac", "iec_goose",
     [](Dbms& d) { return InsertMessage(d, &GooseMessageRecord::dstMac); }},
    {"InsertGooseMessage dataSetValues", "iec_goose",
     [](Dbms& d) { return InsertMessage(d, &GooseMessageRecord::dataSetValues); }},
};

class NulCharacters : public DbmsTest {
 protected:
  void SetUp() override {
    DbmsTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateSystemLogTable(0) && dbms->CreateTagValueTable(L"page") &&
                dbms->CreatePageTimeListTable() && dbms->CreateReportDataTables(0) &&
                dbms->CreateEventReportTable() && dbms->CreateUserTables() && dbms->CreateNetworkTable() &&
                dbms->CreateCommentTable() && dbms->CreateRecipeGroupTable() && dbms->CreateGooseTable());
  }
  std::shared_ptr<Dbms> dbms;
};

TEST_F(NulCharacters, AreRefusedAndNothingIsStored) {
  for (const Refusal& refusal : kRefusals) {
    SCOPED_TRACE(refusal.operation);
    EXPECT_FALSE(refusal.call(*dbms));
    EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"NUL character"), std::wstring::npos);
    EXPECT_EQ(Value(std::string("select count(*) from ") + refusal.table), "0");
  }
}

TEST_F(NulCharacters, EndAListAndKeepTheRowsBeforeThem) {
  EXPECT_FALSE(dbms->InsertUsers({With(UserRecord(), &UserRecord::id, L"first"),
                                  With(UserRecord(), &UserRecord::id, kNul),
                                  With(UserRecord(), &UserRecord::id, L"third")}));
  EXPECT_EQ(Value("select string_agg(id, ',') from userinfo_table"), "first");
  EXPECT_EQ(dbms->InsertSystemLog({{1, 1, 2, 3, 4, L"", L"first"}, {2, 1, 2, 3, 4, L"", kNul}}), 1u);
  EXPECT_EQ(Value("select string_agg(message, ',') from system_log"), "first");
  EXPECT_FALSE(dbms->InsertComments({{1, 1, 1, L"first", L""}, {1, 1, 2, kNul, L""}}));
  EXPECT_EQ(Value("select string_agg(comment, ',') from comment"), "first");
  EXPECT_FALSE(dbms->InsertRecipeGroups({{L"m", L"first", L"{}"}, {L"m", kNul, L"{}"}}));
  EXPECT_EQ(Value("select string_agg(group_name, ',') from recipe_group"), "first");
}

}  // namespace
