#include "server/GrantedAccounts.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

#include "unit/AllOperations.h"

namespace {

// Look: the operation finds its table up to date and changes nothing, which every account may do.
enum class Right { Read, Look, Write, Own, Create };

constexpr std::array<const char*, 3> kAccounts = {"reader", "writer", "owner"};

// The right that each operation needs once the tables exist. DropGridTable comes last; those for chunks need
// a hypertable.
const std::map<Right, std::vector<int>>& Operations() {
  static const std::map<Right, std::vector<int>> operations = {
      {Right::Read, {1, 2, 4, 6, 9, 12, 13, 23, 25, 28, 29, 33, 47, 48, 62, 65}},
      // GetUsers and GetLoggedInUserIds are here, because not every reader may see passwords.
      {Right::Write, {5,  8,  11, 16, 17, 19, 20, 24, 26, 27, 31, 32, 36, 37, 38,
                      39, 41, 44, 46, 51, 52, 53, 55, 56, 58, 59, 61, 63, 66}},
      {Right::Own, {15, 45, 49}},
      {Right::Look, {7, 18, 30, 34}},
      {Right::Create, {40, 3, 10, 14, 21, 22, 35, 42, 50, 54, 57, 60, 64, 67}}};
  return operations;
}

const OperationCall& Operation(int number) { return AllOperations()[static_cast<std::size_t>(number) - 1]; }

bool Says(Dbms& dbms, const wchar_t* text) {
  return std::wstring(dbms.GetLastError()).find(text) != std::wstring::npos;
}

// The server checks the rights before it refuses a row that is already stored.
void ExpectDone(Dbms& dbms, const OperationCall& operation) {
  EXPECT_TRUE(operation.call(dbms) || Says(dbms, L"duplicate key")) << dbms.GetLastError();
}

void ExpectRefused(Dbms& dbms, const OperationCall& operation) {
  EXPECT_FALSE(operation.call(dbms));
  EXPECT_TRUE(Says(dbms, L"permission denied") || Says(dbms, L"must be owner")) << dbms.GetLastError();
}

std::string Script() {
  std::ifstream file(DBMSAPI_GRANTS_SCRIPT);
  std::ostringstream text;
  text << file.rdbuf();
  if (text.str().empty()) throw std::runtime_error("no " DBMSAPI_GRANTS_SCRIPT);
  return text.str();
}

}  // namespace

GrantedAccounts::GrantedAccounts(std::string prefix, std::function<void(const std::string&)> run)
    : prefix_(std::move(prefix)), run_(std::move(run)) {}

GrantedAccounts::~GrantedAccounts() {
  for (const char* account : kAccounts) {
    try {
      run_("drop owned by " + prefix_ + account + " cascade; drop role " + prefix_ + account);
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
  }
}

void GrantedAccounts::Grant() {
  constexpr std::string_view kPrefix = "plant_";
  std::string script = Script();
  for (std::size_t at = 0; (at = script.find(kPrefix, at)) != std::string::npos; at += prefix_.size())
    script.replace(at, kPrefix.size(), prefix_);
  run_(script);
  for (const char* account : kAccounts) run_("alter role " + prefix_ + account + " password 'secret'");
}

void GrantedAccounts::ExpectEachOperationInItsRole(
    const std::function<std::shared_ptr<Dbms>(const std::wstring&, const wchar_t*)>& connect) {
  Grant();
  const std::wstring prefix(prefix_.begin(), prefix_.end());
  const auto owner = connect(prefix + L"owner", L"secret");
  for (const Right creating : {Right::Create, Right::Look}) {
    for (const int number : Operations().at(creating)) {
      SCOPED_TRACE(Operation(number).name);
      EXPECT_TRUE(Operation(number).call(*owner)) << owner->GetLastError();
    }
  }
  Grant();
  for (const auto& [account, right] :
       {std::pair(L"reader", Right::Look), {L"writer", Right::Write}, {L"owner", Right::Create}}) {
    SCOPED_TRACE(account);
    const auto dbms = connect(prefix + account, L"secret");
    for (const auto& [needed, numbers] : Operations()) {
      if (right == Right::Create && needed == Right::Create) continue;  // done above
      for (const int number : numbers) {
        SCOPED_TRACE(Operation(number).name);
        needed <= right ? ExpectDone(*dbms, Operation(number)) : ExpectRefused(*dbms, Operation(number));
      }
    }
  }
  EXPECT_TRUE(Operation(43).call(*owner)) << owner->GetLastError();
}
