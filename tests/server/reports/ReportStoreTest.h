#pragma once

#include "server/DbmsTest.h"

using Lines = std::vector<std::string>;

constexpr const wchar_t* kKinds[] = {L"analog", L"digital"};
constexpr const wchar_t* kPeriods[] = {L"minute", L"hour", L"day", L"month", L"year"};

// A fresh report store.
class ReportStoreTest : public DbmsTest {
 protected:
  void SetUp() override {
    ServerTest::SetUp();
    if (HasFatalFailure()) return;
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateReportDataTables(10)) << Error();
  }

  // The last failure's text, which is ASCII in tests.
  std::string Error() const {
    const std::wstring error = dbms->GetLastError();
    return std::string(error.begin(), error.end());
  }
  bool Failed(const char* text) const { return Error().find(text) != std::string::npos; }

  std::shared_ptr<Dbms> dbms;
};
