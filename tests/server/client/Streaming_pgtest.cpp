// Large results and large statements.

#include <algorithm>

#include "ClientTest.h"
#include "platform/Process.h"

namespace {

constexpr long kRows = 1'000'000;
constexpr long kRowBytes = 1000;

// Growth of memory. The whole result takes about 1 GB; under AddressSanitizer freed memory is kept for a
// while.
constexpr long kMostGrowthKilobytes = 400'000;

class Streaming : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Connect();
  }

  // `select count(*), sum(x) from (values (:1),(:2),...) v(x)`
  static std::wstring ManyMarkers(int count) {
    std::wstring text = L"select count(*), sum(x) from (values ";
    for (int i = 1; i <= count; ++i) text += (i > 1 ? L",(:" : L"(:") + std::to_wstring(i) + L")";
    return text + L") v(x)";
  }
};

TEST_F(Streaming, TakesNoMemoryForTheRows) {
  const std::wstring text = L"select i, repeat('x', " + std::to_wstring(kRowBytes) +
                            L") from generate_series(1, " + std::to_wstring(kRows) + L") i";
  SACommand command(&connection, text.c_str());
  const long before = platform::ResidentKilobytes();
  long most = before;
  command.Execute();
  long rows = 0;
  while (command.FetchNext()) {
    ++rows;
    if (rows % 10'000 == 0) most = std::max(most, platform::ResidentKilobytes());
    ASSERT_EQ(command.Field(1).asLong(), rows);
  }
  EXPECT_EQ(rows, kRows);
  EXPECT_LT(most - before, kMostGrowthKilobytes);
}

TEST_F(Streaming, BindsAsManyParametersAsTheProtocolHas) {
  constexpr int kMost = 65'535;
  SACommand command(&connection, ManyMarkers(kMost).c_str());
  ASSERT_EQ(command.ParamCount(), kMost);
  for (int i = 1; i <= kMost; ++i) command << i;
  command.Execute();
  EXPECT_EQ(Fetch(command), (std::vector<std::wstring>{L"65535|2147450880"}));
  command.Param(kMost).setAsLong() = 0;
  command.Execute();
  EXPECT_EQ(Fetch(command), (std::vector<std::wstring>{L"65535|2147385345"}));
}

TEST_F(Streaming, RefusesMoreParameters) {
  constexpr int kTooMany = 65'536;
  SACommand command(&connection, ManyMarkers(kTooMany).c_str());
  ASSERT_EQ(command.ParamCount(), kTooMany);
  for (int i = 1; i <= kTooMany; ++i) command << i;
  const SAException error = Thrown([&] { command.Execute(); });
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_EQ(Wide(error.ErrText()), L"number of parameters must be between 0 and 65535");
  EXPECT_TRUE(connection.isAlive());
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(Streaming, TakesLongTexts) {
  const std::wstring text(10'000'000, L'\u00e4');
  SACommand command(&connection, L"select length(:1::text), :1::text");
  command << text.c_str();
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  EXPECT_EQ(command.Field(1).asLong(), 10'000'000);
  EXPECT_TRUE(Wide(command.Field(2).asString()) == text);
}

}  // namespace
