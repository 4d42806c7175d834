#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"
#include "scripted/Access.h"
#include "scripted/ScriptedServer.h"

using Texts = std::vector<std::wstring>;

// A new scripted server, an object that is not connected yet, an unknown extension, captured debug lines.
class ScriptedTest : public ::testing::Test {
 protected:
  ScriptedTest();
  ~ScriptedTest() override;

  static std::shared_ptr<Dbms> NewDbms(DbmsType type = DbmsType::TirelScada);

  scripted::Server server;
  Texts debugLines;
  std::shared_ptr<Dbms> dbms = NewDbms();
};
