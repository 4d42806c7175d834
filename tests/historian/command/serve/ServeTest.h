#pragma once

#include <httplib.h>

#include <nlohmann/json.hpp>

#include "historian/HistorianTest.h"
#include "historian/command/serve/Service.h"
#include "port/Utf8.h"

namespace historian::command {

// The page over a fresh database, and a client for it.
class ServeTest : public HistorianTest {
 protected:
  void SetUp() override {
    HistorianTest::SetUp();
    ASSERT_TRUE(dbms->CreateAlarmTable(0)) << dbms->GetLastError();
  }
  void TearDown() override {
    service.reset();
    HistorianTest::TearDown();
  }

  // Options as from a command line; the password comes from libpq's environment.
  ServerOptions ServerUnderTest() const {
    setenv("PGPASSWORD", sys::ToUtf8(Password()).c_str(), 1);
    return {sys::ToUtf8(Host()), Port(), sys::ToUtf8(Database()), sys::ToUtf8(User())};
  }

  // `port` names another server of the database; 0: the one under test.
  void Start(Pool::Limits limits = {}, const std::string& token = "", int port = 0) {
    Service::Options options;
    options.server = ServerUnderTest();
    if (port != 0) options.server.port = port;
    options.limits = limits;
    options.address.port = 0;
    options.token = token;
    options.most_samples = 3600;
    service = std::make_unique<Service>(options);
  }

  // Returns an answer; its status is 0 when there is none.
  httplib::Response Get(const std::string& path, const httplib::Headers& headers = {}) {
    httplib::Client client("127.0.0.1", service->address().port);
    client.set_read_timeout(100);
    const httplib::Result result = client.Get(path, headers);
    if (result) return *result;
    httplib::Response none;
    none.status = 0;
    return none;
  }

  nlohmann::json Json(const std::string& path) {
    const httplib::Response response = Get(path);
    EXPECT_EQ(response.status, 200) << path << ": " << response.body;
    return nlohmann::json::parse(response.body);
  }

  std::unique_ptr<Service> service;
};

}  // namespace historian::command
