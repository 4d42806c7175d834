#include <future>

#include "ServeTest.h"
#include "historian/command/serve/Page.h"

namespace historian::command {
namespace {

using nlohmann::json;

// 2026-03-02 06:00:00 UTC, in milliseconds.
constexpr char kHour[] = "from=1772431200000&to=1772434800000";

// A sample a second for an hour: 0, 1, 2 ...
constexpr char kRamp[] =
    "insert into datalog select timestamptz '2026-03-02 06:00:00Z' + i * interval '1 s', 'PUMP.SPEED', i "
    "from generate_series(0, 3599) i";

TEST_F(ServeTest, SendsThePageAndItsFiles) {
  Start();
  const httplib::Response page = Get("/");
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.get_header_value("Content-Type"), "text/html; charset=utf-8");
  EXPECT_NE(page.body.find("<title>historian</title>"), std::string::npos);
  for (const PageFile& file : PageFiles()) {
    const httplib::Response response = Get(file.path);
    EXPECT_EQ(response.status, 200) << file.path;
    EXPECT_EQ(response.body, file.content) << file.path;
    EXPECT_EQ(response.get_header_value("Content-Type"), file.type);
  }
  EXPECT_EQ(Get("/passwd").status, 404);
  EXPECT_EQ(Get("/../index.html").status, 404);
  EXPECT_EQ(Get("/api/none").status, 404);
}

TEST_F(ServeTest, AllowsNothingButItsOwnFilesInThePage) {
  Start();
  for (const char* path : {"/", "/api/state", "/nowhere"}) {
    const httplib::Response response = Get(path);
    EXPECT_EQ(response.get_header_value("Content-Security-Policy"),
              "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
              "base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    EXPECT_EQ(response.get_header_value("X-Content-Type-Options"), "nosniff");
    EXPECT_FALSE(response.has_header("Access-Control-Allow-Origin"));
  }
}

TEST_F(ServeTest, ChecksHostMethodAndToken) {
  Start({}, "0123456789abcdef");
  EXPECT_EQ(Get("/api/state").status, 401);
  EXPECT_EQ(Get("/api/state", {{"Authorization", "Bearer 0123456789abcdef"}}).status, 200);
  EXPECT_EQ(Get("/api/state", {{"Host", "evil.example"}}).status, 421);
  httplib::Client client("127.0.0.1", service->address().port);
  EXPECT_EQ(client.Post("/api/state", "", "text/plain")->status, 405);
}

TEST_F(ServeTest, NamesTheDatabase) {
  Start();
  EXPECT_EQ(Json("/api/state")["database"], sys::ToUtf8(Database()));
}

TEST_F(ServeTest, FindsTags) {
  Run("insert into datalog values ('2026-03-02 06:00:00Z', 'PUMP.SPEED', 1), ('2026-03-02 07:00:00Z', 'PUMP.SPEED', 1), "
      "('2026-03-02 06:00:00Z', '100 % \"Ä\" 😀', 2)");
  Start();
  EXPECT_EQ(
      Json("/api/tags?match=speed"),
      json::parse(
          R"({"matching":1,"tags":[{"tag":"PUMP.SPEED","first":1772431200000,"last":1772434800000}]})"));
  EXPECT_EQ(Json("/api/tags?match=%25%20%C3%A4")["tags"][0]["tag"], "100 % \"Ä\" 😀");
  EXPECT_EQ(Json("/api/tags?limit=1")["tags"].size(), 1u);
  EXPECT_EQ(Json("/api/tags?limit=1")["matching"], 2);
  EXPECT_EQ(Json("/api/extent?tag=PUMP.SPEED"),
            json::parse(R"({"first":1772431200000,"last":1772434800000})"));
  EXPECT_EQ(Json("/api/extent?tag=NONE"), json::object());
}

TEST_F(ServeTest, SendsBucketsOrSamples) {
  Run(kRamp);
  Start();
  const json buckets = Json(std::string("/api/trend?tag=PUMP.SPEED&buckets=60&") + kHour);
  EXPECT_EQ(buckets["width"], 60000);
  EXPECT_EQ(buckets["source"], "samples");
  EXPECT_EQ(buckets["tags"][0]["raw"], false);
  EXPECT_EQ(buckets["tags"][0]["time"].size(), 60u);
  EXPECT_EQ(buckets["tags"][0]["time"][1], 1772431260000);
  EXPECT_EQ(buckets["tags"][0]["min"][1], 60.0);
  EXPECT_EQ(buckets["tags"][0]["mean"][1], 89.5);
  EXPECT_EQ(buckets["tags"][0]["max"][1], 119.0);

  Run("insert into datalog values ('2026-03-02 06:00:05.123Z', 'RARE', null), ('2026-03-02 06:00:06Z', 'RARE', 2.5)");
  EXPECT_EQ(Json(std::string("/api/trend?tag=NONE&tag=RARE&buckets=60&") + kHour)["tags"],
            json::parse(R"([{"tag":"NONE","raw":false,"time":[],"min":[],"mean":[],"max":[]},
                            {"tag":"RARE","raw":true,"time":[1772431205123,1772431206000],"min":[null,2.5],
                             "mean":[null,2.5],"max":[null,2.5]}])"));
}

TEST_F(ServeTest, ListsAlarms) {
  Run("insert into alarm values "
      "('2026-03-02 06:10:00Z', 'PUMP', 1.5, 'too low', 1, 2, 3, 4, '2026-03-02 06:10:00Z', null),"
      "('2026-03-02 06:20:00Z', 'FAN', 9, '<b>', 2, 2, 3, 4, '2026-03-02 06:00:00Z', '2026-03-02 06:20:00Z'),"
      "('2026-03-02 07:00:00Z', 'PUMP', 1, 'after the range', 1, 2, 3, 4, '2026-03-02 07:00:00Z', null)");
  Start();
  const json all = Json(std::string("/api/alarms?") + kHour);
  ASSERT_EQ(all["alarms"].size(), 2u);
  EXPECT_EQ(all["more"], false);
  EXPECT_EQ(all["alarms"][0]["label"], "<b>");
  EXPECT_EQ(all["alarms"][0]["cleared"], 1772432400000);
  const json pump = Json(std::string("/api/alarms?tag=PUMP&") + kHour)["alarms"];
  EXPECT_EQ(pump, json::parse(R"([{"time":1772431800000,"tag":"PUMP","value":1.5,"label":"too low","status":1,
      "type":2,"level":3,"zone":4,"occurred":1772431800000,"cleared":null}])"));
  const json one = Json(std::string("/api/alarms?limit=1&") + kHour);
  EXPECT_EQ(one["alarms"].size(), 1u);
  EXPECT_EQ(one["more"], true);
}

TEST_F(ServeTest, WritesWhatIsSeenAsCsv) {
  Run("insert into datalog values ('2026-03-02 06:00:00Z', 'A,B', 1), ('2026-03-02 06:00:00.5Z', 'A,B', null), "
      "('2026-03-02 06:59:59.999Z', 'A,B', 0.1), ('2026-03-02 07:00:00Z', 'A,B', 9)");
  Start();
  const httplib::Response samples = Get(std::string("/api/samples.csv?tag=A%2CB&") + kHour);
  EXPECT_EQ(samples.status, 200);
  EXPECT_EQ(samples.get_header_value("Content-Disposition"), "attachment; filename=\"samples.csv\"");
  EXPECT_EQ(samples.body,
            "time,tag,value\n2026-03-02T06:00:00Z,\"A,B\",1\n2026-03-02T06:00:00.500Z,\"A,B\",null\n"
            "2026-03-02T06:59:59.999Z,\"A,B\",0.1\n");
  EXPECT_EQ(Get(std::string("/api/trend.csv?tag=A%2CB&buckets=1&") + kHour).body,
            "time,tag,min,mean,max\n2026-03-02T06:00:00Z,\"A,B\",0.1,0.55,1\n");
}

TEST_F(ServeTest, RefusesMoreSamplesThanItSends) {
  Run(kRamp);
  Start();
  const std::string path = std::string("/api/samples.csv?tag=PUMP.SPEED&tag=RARE&") + kHour;
  const httplib::Response fits = Get(path);
  EXPECT_EQ(fits.status, 200);
  EXPECT_EQ(std::count(fits.body.begin(), fits.body.end(), '\n'), 3601);
  Run("insert into datalog values ('2026-03-02 06:30:00Z', 'RARE', 1)");
  const httplib::Response refused = Get(path);
  EXPECT_EQ(refused.status, 413);
  EXPECT_EQ(json::parse(refused.body)["error"], "more than 3,600 samples; zoom in, or use historian export");
}

TEST_F(ServeTest, ReportsHealth) {
  Start();
  const json report = Json("/api/health");
  const auto is_tables = [](const json& finding) { return finding["check"] == "table datalog"; };
  const auto found = std::find_if(report["findings"].begin(), report["findings"].end(), is_tables);
  ASSERT_NE(found, report["findings"].end());
  EXPECT_EQ((*found)["verdict"], "ok");
  // It is not a fault of the store that this session only reads.
  for (const json& finding : report["findings"])
    EXPECT_EQ(finding["found"].get<std::string>().find("read-only"), std::string::npos) << finding;
}

TEST_F(ServeTest, ReadsInSessionsThatCannotWrite) {
  Start();
  Json("/api/state");
  Server server(ReadOnly(ServerUnderTest()));
  EXPECT_EQ(server.Value(L"show default_transaction_read_only"), "on");
  EXPECT_EQ(server.Value(L"show statement_timeout"), "30s");
  try {
    server.Value(L"insert into datalog values (now(), 'A', 1) returning 1");
    FAIL() << "a sample was stored";
  } catch (const SAException& error) {
    EXPECT_EQ(error.SqlState(), "25006");
  }
}

TEST_F(ServeTest, GoesOnAfterItsConnectionsWereLost) {
  Start();
  Json("/api/state");
  Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " other(pid)");
  WaitUntil("select not exists " + std::string(kOtherBackends));
  EXPECT_EQ(Get("/api/state").status, 200);
}

TEST_F(ServeTest, SaysThatTheDatabaseIsAway) {
  Start({}, "", 1);  // a port without a server
  for (const char* path : {"/api/state", "/api/tags", "/api/health"}) {
    const httplib::Response response = Get(path);
    EXPECT_EQ(response.status, 503) << path;
    EXPECT_TRUE(response.has_header("Retry-After"));
    const json answer = json::parse(response.body);
    EXPECT_EQ(answer["away"], true);
    EXPECT_EQ(answer["error"].get<std::string>().substr(0, 16), "cannot connect: ");
  }
  EXPECT_EQ(Get("/").status, 200);
}

TEST_F(ServeTest, SaysWhatIsMissing) {
  Run("drop table alarm");
  Start();
  const httplib::Response response = Get(std::string("/api/alarms?") + kHour);
  EXPECT_EQ(response.status, 404);
  EXPECT_NE(response.body.find("has no table alarm; create it with: historian init"), std::string::npos);
  EXPECT_EQ(Get("/api/trend?tag=A&from=2&to=1").status, 400);
}

constexpr char kWaiting[] =
    " from pg_locks where not granted and relation = 'datalog'::regclass "
    "and database = (select oid from pg_database where datname = current_database())";

// Two requests wait for a locked table with the only two connections; of ten more, two wait for a connection.
TEST_F(ServeTest, RefusesRequestsThatAreTooMany) {
  Run(kRamp);
  Start({2, 2});
  Run("begin; lock table datalog in access exclusive mode");
  std::vector<std::future<int>> under_way;
  const auto ask = [&] {
    under_way.push_back(std::async(
        std::launch::async, [&] { return Get(std::string("/api/trend?tag=PUMP.SPEED&") + kHour).status; }));
  };
  ask();
  ask();
  WaitUntil(std::string("select count(*) = 2") + kWaiting);
  for (int i = 0; i < 10; ++i) ask();
  std::vector<std::future<int>> refused;
  while (refused.size() < 8) {
    for (auto request = under_way.begin(); request != under_way.end();) {
      const bool answered = request->wait_for(std::chrono::milliseconds(10)) == std::future_status::ready;
      if (answered) refused.push_back(std::move(*request));
      request = answered ? under_way.erase(request) : request + 1;
    }
  }
  for (std::future<int>& request : refused) EXPECT_EQ(request.get(), 429);
  Run("commit");
  ASSERT_EQ(under_way.size(), 4u);
  for (std::future<int>& request : under_way) EXPECT_EQ(request.get(), 200);
}

TEST_F(ServeTest, EndsAtOnceWithARequestUnderWay) {
  Run(kRamp);
  Start();
  Run("begin; lock table datalog in access exclusive mode");
  auto request = std::async(std::launch::async,
                            [&] { return Get(std::string("/api/trend?tag=PUMP.SPEED&") + kHour).status; });
  WaitUntil(std::string("select count(*) = 1") + kWaiting);
  EXPECT_FALSE(service->Stop());
  Run("commit");
  EXPECT_EQ(request.get(), 200);
}

}  // namespace
}  // namespace historian::command
