#pragma once

#include "server/DbmsTest.h"

// A fresh database and an object of the library that works in it.
class HistoryTest : public DbmsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
    dbms = NewDbms();
  }
  void TearDown() override {
    dbms.reset();
    DbmsTest::TearDown();
  }

  // An object with this database text.
  std::shared_ptr<Dbms> NewDbmsOn(const std::wstring& database) const {
    return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), database.c_str(), User().c_str(),
                         Password().c_str());
  }

  // The last failure's text, for output and search.
  std::string Error() const { return testing::PrintToString(std::wstring(dbms->GetLastError())); }

  std::shared_ptr<Dbms> dbms;
};

// Whether a text holds another.
inline bool Holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}
