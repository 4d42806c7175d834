#pragma once

#include <DbmsAPI/Diagnostics.h>

#include "server/DbmsTest.h"

// An object on the test's database; the debug lines of all objects are kept.
class ConfigTest : public DbmsTest {
 protected:
  void SetUp() override {
    SetDbmsDebugSink([this](const wchar_t* line) { debugLines.emplace_back(line); });
    DbmsTest::SetUp();
    if (!HasFatalFailure()) dbms = NewDbms();
  }

  void TearDown() override {
    dbms.reset();
    DbmsTest::TearDown();
    SetDbmsDebugSink(nullptr);
  }

  // kEveryPlane in UTF-8, made by the server.
  std::string EveryPlane() { return Value(std::string("select ") + kEveryPlaneSql); }

  // Whether the last failure's text holds these words.
  bool LastErrorSays(const wchar_t* words) const { return Says(*dbms, words); }
  static bool Says(Dbms& object, const wchar_t* words) {
    return std::wstring(object.GetLastError()).find(words) != std::wstring::npos;
  }

  std::shared_ptr<Dbms> dbms;
  std::vector<std::wstring> debugLines;
};
