#include "chaos/ChaosTest.h"

#include "platform/Process.h"

namespace {

std::string Narrow(const std::wstring& ascii) { return {ascii.begin(), ascii.end()}; }

}  // namespace

void ChaosTest::SetUp() {
  ASSERT_NO_FATAL_FAILURE(OperationsTest::SetUp());
  // No encryption, because the gate reads the messages.
  platform::SetVariable("PGSSLMODE", "disable");
  platform::SetVariable("PGGSSENCMODE", "disable");
  gate = NewGate();
  gate->Open();
  const auto dbms = NewDbms(DbmsType::PostgreSQL);
  ASSERT_TRUE(GetParam().create(*dbms)) << LastMessage(*dbms);
}

void ChaosTest::TearDown() {
  gate.reset();
  OperationsTest::TearDown();
}

std::unique_ptr<StatementGate> ChaosTest::NewGate() const {
  return std::make_unique<StatementGate>(Narrow(Host()), Port());
}

std::shared_ptr<Dbms> ChaosTest::NewGatedDbms() const {
  return Dbms::GetDbms(DbmsType::PostgreSQL, L"127.0.0.1", gate->Port(), Database().c_str(), User().c_str(),
                       Password().c_str());
}

std::shared_ptr<Dbms> ChaosTest::Begin(const Operation& operation) {
  Run(operation.prepare);
  auto dbms = NewGatedDbms();
  EXPECT_TRUE(dbms->Connect()) << LastMessage(*dbms);
  return dbms;
}

std::shared_ptr<Dbms> ChaosTest::BeginDirectly(const Operation& operation) {
  Run(operation.prepare);
  auto dbms = NewDbms(DbmsType::PostgreSQL);
  EXPECT_TRUE(dbms->Connect()) << LastMessage(*dbms);
  return dbms;
}

std::string ChaosTest::Hold(const Operation& operation) {
  const bool changesTables = operation.table == nullptr;
  Run(changesTables ? "begin; lock table pg_attribute in share mode"
                    : "begin; lock table " + std::string(operation.table) + " in access exclusive mode");
  return "select exists (select from pg_locks where not granted and database = (select oid from pg_database "
         "where datname = current_database()))";
}

void ChaosTest::AtEachStatement(StatementGate::Point point, const StatementGate::Fault& fault,
                                const Texts& causes) {
  for (const Operation& operation : Operations()) {
    for (int n = 1; n <= operation.Statements(); ++n) {
      SCOPED_TRACE(testing::Message() << operation.name << ", statement " << n);
      AtStatement(operation, n, point, fault, causes);
    }
  }
}

void ChaosTest::AtStatement(const Operation& operation, int n, StatementGate::Point point,
                            const StatementGate::Fault& fault, const Texts& causes) {
  const auto dbms = Begin(operation);
  gate->At(n, point, fault);
  const bool goesOn = operation.probes && n == 1;
  EXPECT_EQ(operation.call(*dbms), goesOn);
  EXPECT_TRUE(gate->Happened());
  EXPECT_TRUE(Says(*dbms, causes));
  const auto statement = static_cast<std::size_t>(point == StatementGate::Point::After ? n : n - 1);
  EXPECT_EQ(Held(operation), goesOn ? operation.holds.back() : operation.holds[statement]);
  ExpectItGoesOn(*dbms, operation);
}
