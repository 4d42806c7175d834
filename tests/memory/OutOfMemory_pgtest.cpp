// An allocation that fails inside an operation leaves it as std::bad_alloc, and the session stays usable.

#include <DbmsAPI/Diagnostics.h>
#include <pgAPI.h>

#include <functional>

#include "FailingNew.h"
#include "server/DbmsTest.h"

namespace {

using Operation = std::function<bool(Dbms&)>;

constexpr std::int64_t kStart = 1700000000;

class OutOfMemory : public DbmsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
    SetDbmsDebugSink([](const wchar_t*) {});
    const auto dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0) && dbms->CreateUserLogTable(L"oven", {{L"note", 2, 40}}, 0) &&
                dbms->CreateAlarmTable(0) && dbms->CreateReportDataTables(0) && dbms->CreateUserTables() &&
                dbms->CreateRecipeTable())
        << testing::PrintToString(std::wstring(dbms->GetLastError()));
  }
  void TearDown() override {
    SetDbmsDebugSink(nullptr);
    DbmsTest::TearDown();
  }

  // Fails each allocation of the operation, one per run, each time with a new object.
  void FailEachAllocation(const Operation& operation) {
    for (std::size_t k = 1; k <= kMaxAllocations; ++k) {
      SCOPED_TRACE(testing::Message() << "allocation " << k);
      const auto dbms = NewDbms();
      ASSERT_TRUE(dbms->Connect());
      if (!FailAllocation(*dbms, operation, k)) {
        EXPECT_GT(k, 1u) << "the operation allocates nothing";
        return;
      }
      ExpectOutsideOfTransactions(*dbms);
      ASSERT_TRUE(operation(*dbms)) << testing::PrintToString(std::wstring(dbms->GetLastError()));
    }
    FAIL() << "the operation does not end";
  }

  // Whether the operation reached its k-th allocation.
  static bool FailAllocation(Dbms& dbms, const Operation& operation, std::size_t k) {
    const std::optional<bool> done = CallWithFailure(k, [&] { return operation(dbms); });
    EXPECT_EQ(!done, FailingNew::HasFailed());
    EXPECT_TRUE(done.value_or(true));
    return FailingNew::HasFailed();
  }

  // In a transaction now() does not advance; in a failed one, and in a COPY, the query fails.
  static void ExpectOutsideOfTransactions(Dbms& dbms) {
    ASSERT_TRUE(dbms.Connect());
    SACommand command(dbms.GetConnection().get(), L"select now() = statement_timestamp()");
    command.Execute();
    ASSERT_TRUE(command.FetchNext());
    EXPECT_TRUE(command.Field(1).asBool());
  }
};

// Watches the COPYs of all connections through the native calls.
class CopyWatch {
 public:
  explicit CopyWatch(const SAConnection& connection) : table_(static_cast<pgAPI&>(*connection.NativeAPI())) {
    real = table_;
    table_.PQexec = Execute;
    table_.PQputCopyEnd = EndCopy;
  }
  ~CopyWatch() { table_ = real; }
  CopyWatch(const CopyWatch&) = delete;
  CopyWatch& operator=(const CopyWatch&) = delete;

  static inline bool cancelled = false;    // a COPY was ended with an error
  static inline bool interrupted = false;  // a statement was sent during a COPY

 private:
  static PGresult* Execute(PGconn* connection, const char* statement) {
    interrupted = interrupted || copying;
    PGresult* const result = real.PQexec(connection, statement);
    copying = real.PQresultStatus(result) == kCopyIn;
    return result;
  }
  static int EndCopy(PGconn* connection, const char* error) {
    copying = false;
    cancelled = cancelled || error;
    return real.PQputCopyEnd(connection, error);
  }

  static constexpr int kCopyIn = 4;  // PGRES_COPY_IN
  static inline pgAPI real;
  static inline bool copying = false;

  pgAPI& table_;
};

// Three samples of one tag each; each call gives another time.
bool InsertBatch(Dbms& dbms) {
  static std::int64_t seconds = kStart;
  ++seconds;
  return dbms.InsertLogData({{seconds * 1000, L"OVEN1.TEMPERATURE", 21.5},
                             {seconds * 1000, L"OVEN2.TEMPERATURE", 22.5},
                             {seconds * 1000, L"OVEN3.TEMPERATURE", 23.5}});
}

TEST_F(OutOfMemory, InsertLogDataStoresAllOrNothing) {
  FailEachAllocation(InsertBatch);
  EXPECT_EQ(Rows("select count(*) from datalog group by time having count(*) <> 3"),
            std::vector<std::string>());
  EXPECT_NE(Value("select count(*) from datalog"), "0");
}

TEST_F(OutOfMemory, InsertLogDataEndsItsCopyBeforeTheRollback) {
  const auto dbms = NewDbms();
  const CopyWatch watch(*dbms->GetConnection());
  FailEachAllocation(InsertBatch);
  EXPECT_TRUE(CopyWatch::cancelled);
  EXPECT_FALSE(CopyWatch::interrupted);
}

TEST_F(OutOfMemory, InsertLogDataThatTheServerRefuses) {
  Run("drop table datalog");
  FailEachAllocation([](Dbms& dbms) { return !InsertBatch(dbms); });
}

TEST_F(OutOfMemory, InsertLogDataThatTheServerRefusesToCopy) {
  FailEachAllocation([](Dbms& dbms) {
    return !dbms.InsertLogData({{kStart * 1000, std::wstring(L"a\0b is no name", 14), 1}});
  });
}

TEST_F(OutOfMemory, GetLogData) {
  ASSERT_TRUE(InsertBatch(*NewDbms()));
  FailEachAllocation([](Dbms& dbms) {
    std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"OVEN1.TEMPERATURE", {}}};
    return dbms.GetLogData(kStart, kStart + 1000000, data) && data.size() == 1;
  });
}

TEST_F(OutOfMemory, UserLogs) {
  FailEachAllocation([](Dbms& dbms) { return dbms.CreateUserLogTable(L"oven", {{L"note", 2, 40}}, 0); });
  ASSERT_TRUE(NewDbms()->InsertUserLogData(L"oven", {kStart * 1000, {L"'baked for a long time'"}}));
  // Made in advance: libstdc++ 12 cannot undo the copy of a variant when the allocation of its text fails.
  const std::vector<std::variant<double, std::wstring>> binds = {L"something else"};
  FailEachAllocation([&](Dbms& dbms) {
    std::vector<UserLogRow> rows;
    return dbms.GetUserLogData(L"oven", kStart, kStart + 1, L"note <> :1", binds, rows) && rows.size() == 1;
  });
}

TEST_F(OutOfMemory, Alarms) {
  std::int64_t ms = kStart * 1000;
  FailEachAllocation([&](Dbms& dbms) {
    ++ms;
    return dbms.InsertAlarm(ms, L"OVEN1.TEMPERATURE", 230, L"much too hot", 1, 2, 3, 4, ms, 0);
  });
  FailEachAllocation([](Dbms& dbms) {
    std::vector<AlarmRecord> records;
    return dbms.GetAlarmData(kStart, kStart + 1000, 2, -1, -1, -1, {L"OVEN"}, {}, records) &&
           !records.empty();
  });
}

TEST_F(OutOfMemory, Reports) {
  std::int64_t time = kStart;
  FailEachAllocation([&](Dbms& dbms) {
    ReportAnalogData row;
    row.tag_name = L"OVEN1.TEMPERATURE";
    row.time = ++time;
    return dbms.InsertReportAnalogData(L"day", {row});
  });
  FailEachAllocation([](Dbms& dbms) {
    std::unordered_map<std::wstring, std::vector<ReportAnalogData>> data = {{L"OVEN1.TEMPERATURE", {}}};
    return dbms.GetReportAnalogData(L"day", kStart, kStart + 1000000, data);
  });
}

TEST_F(OutOfMemory, Records) {
  int number = 0;
  FailEachAllocation([&](Dbms& dbms) {
    UserRecord user;
    user.id = L"operator of oven " + std::to_wstring(++number);
    return dbms.InsertUsers({user});
  });
  FailEachAllocation([](Dbms& dbms) {
    std::vector<UserRecord> users;
    return dbms.GetUsers(users) && !users.empty();
  });
}

TEST_F(OutOfMemory, Configuration) {
  FailEachAllocation([](Dbms& dbms) { return dbms.SaveRecipe(L"bread", L"rye", L"{}", L"with caraway"); });
  FailEachAllocation([](Dbms& dbms) {
    std::vector<RecipeRecord> recipes;
    return dbms.GetRecipes(L"bread", L"rye", recipes) && recipes.size() == 1;
  });
}

TEST_F(OutOfMemory, Connections) {
  FailEachAllocation([](Dbms& dbms) {
    std::wstring version;
    return dbms.GetServerVersion(version);
  });
  FailEachAllocation([](Dbms& dbms) {
    dbms.GetConnection()->Destroy();
    return dbms.Connect();
  });
}

}  // namespace
