// The accounts that docs/grants.sql makes, on hypertables.

#include "TimescaleTest.h"
#include "server/GrantedAccounts.h"

namespace {

class Grants : public TimescaleTest {
 protected:
  GrantedAccounts Accounts() {
    return {Value("select current_database()") + "_", [this](const std::string& text) { Run(text); }};
  }
  const std::function<std::shared_ptr<Dbms>(const std::wstring&, const wchar_t*)> connect =
      [this](const std::wstring& account, const wchar_t* password) {
        return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(),
                             account.c_str(), password);
      };
};

TEST_F(Grants, EachOperationIsDoneByItsAccountAndRefusedToTheOthers) {
  auto accounts = Accounts();
  accounts.ExpectEachOperationInItsRole(connect);
}

TEST_F(Grants, AllSeeChunksAndOnlyTheOwnerCompressesThem) {
  auto accounts = Accounts();
  const auto as = [this](const wchar_t* account) { return connect(Database() + L"_" + account, L"secret"); };
  accounts.Grant();
  const auto owner = as(L"owner");
  ASSERT_TRUE(owner->CreateSystemLogTable(0) && owner->CreateLogTable(0)) << owner->GetLastError();
  accounts.Grant();
  const auto reader = as(L"reader"), writer = as(L"writer");
  ASSERT_TRUE(writer->InsertLogData({{1700000000000, L"PUMP", 1}})) << writer->GetLastError();
  std::wstring chunk;
  for (const auto& dbms : {reader, writer, owner}) {
    std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
    ASSERT_TRUE(dbms->GetUncompressedChunkMap(chunks)) << dbms->GetLastError();
    ASSERT_EQ(chunks[L"datalog"].size(), 1u);
    chunk = chunks[L"datalog"].front();
  }
  ExpectFailure(reader->CompressChunk(chunk.c_str()), *reader, L"must be owner");
  ExpectFailure(writer->CompressChunk(chunk.c_str()), *writer, L"must be owner");
  EXPECT_TRUE(owner->CompressChunk(chunk.c_str())) << owner->GetLastError();
  Run("drop table datalog cascade");  // DROP OWNED fails on it, compressed, up to 2.26.4
}

}  // namespace
