#pragma once

#include <functional>
#include <stdexcept>

#include "historian/Error.h"
#include "server/DbmsTest.h"

namespace historian {

// A fresh database with tag history in it, and an object that works there.
class HistorianTest : public DbmsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  }
  void TearDown() override {
    dbms.reset();
    DbmsTest::TearDown();
  }

  // The error that an action throws.
  static Error Failure(const std::function<void()>& body) {
    try {
      body();
    } catch (const Error& error) {
      return error;
    }
    throw std::logic_error("nothing was thrown");
  }

  std::shared_ptr<Dbms> dbms;
};

}  // namespace historian
