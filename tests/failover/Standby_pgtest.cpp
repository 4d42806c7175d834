// The results of the operations on a standby, as described in docs/scaling.md.

#include <SQLAPI.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "Clusters.h"
#include "DbmsAPI/Diagnostics.h"
#include "unit/AllOperations.h"

namespace {

bool Begins(const OperationCall& operation, std::string_view word) {
  return std::string_view(operation.name).substr(0, word.size()) == word;
}

// PurgeTagValueTable, GetUncompressedChunkMap and CompressChunk need TimescaleDB.
bool IsForChunks(const OperationCall& operation) { return operation.number == 15 || operation.number >= 68; }

// These write nothing: ResetGooseLog sends no statement, the others find their tables up to date.
bool OnlyLooks(const OperationCall& operation) {
  constexpr std::array<int, 6> kLooking = {1, 7, 18, 30, 34, 65};
  return Begins(operation, "Get") ||
         std::find(kLooking.begin(), kLooking.end(), operation.number) != kLooking.end();
}

class Standby : public ::testing::Test {
 protected:
  // Creates all tables on the primary, and waits until the standby has them.
  void CreateEverything() const {
    const auto primary = clusters.Connect();
    for (const OperationCall& operation : AllOperations()) {
      if (!Begins(operation, "Create")) continue;
      ASSERT_TRUE(operation.call(*primary)) << operation.name << ": " << primary->GetLastError();
    }
    const std::wstring end = Value(*primary, L"select pg_current_wal_lsn()");
    const auto standby = clusters.ConnectTo(clusters.standby());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (Value(*standby, L"select (pg_last_wal_replay_lsn() >= '" + end + L"')::int") != L"1") {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the standby does not follow";
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  static std::wstring Value(Dbms& dbms, const std::wstring& query) {
    if (!dbms.Connect()) throw std::runtime_error("no connection");
    SACommand command(dbms.GetConnection().get(), query.c_str());
    command.Execute();
    return command.FetchNext() ? std::wstring(command.Field(1).asString()) : std::wstring();
  }

  const Clusters clusters;
};

TEST_F(Standby, IsReadAndRefusesWhatWrites) {
  ASSERT_NO_FATAL_FAILURE(CreateEverything());
  const std::wstring hosts = clusters.primary() + L"," + clusters.standby();
  const auto reader = clusters.ConnectTo(hosts, L"dbname=postgres target_session_attrs=standby");
  EXPECT_EQ(Value(*reader, L"select host(inet_server_addr())"), clusters.standby());
  int read = 0, refused = 0;
  for (const OperationCall& operation : AllOperations()) {
    if (IsForChunks(operation)) continue;
    SCOPED_TRACE(operation.name);
    if (OnlyLooks(operation)) {
      EXPECT_TRUE(operation.call(*reader)) << reader->GetLastError();
      ++read;
    } else {
      EXPECT_FALSE(operation.call(*reader));
      EXPECT_EQ(LastSqlState(*reader), "25006");
      ++refused;
    }
  }
  EXPECT_EQ(read, 22);
  EXPECT_EQ(refused, 44);
}

}  // namespace
