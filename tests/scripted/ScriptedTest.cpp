#include "scripted/ScriptedTest.h"

#include "DbmsAPI/Diagnostics.h"
#include "DbmsAPI/frame/Timescale.h"

ScriptedTest::ScriptedTest() {
  TimescaleVersion = 0;
  SetDbmsDebugSink([this](const wchar_t* line) { debugLines.emplace_back(line); });
}

ScriptedTest::~ScriptedTest() {
  EXPECT_EQ(server.openResults, 0) << "native results were not cleared";
  TimescaleVersion = 0;
  SetDbmsDebugSink(nullptr);
  SetDbmsInvalidParameterHandler(nullptr);
}

std::shared_ptr<Dbms> ScriptedTest::NewDbms(DbmsType type) {
  return Dbms::GetDbms(type, L"127.0.0.1", 5432, L"scada", L"operator", L"secret");
}
