// Which queries are sent for binary rows, as recorded by a ProtocolTap.

#include "BinaryFormatTest.h"
#include "server/Zone.h"

namespace {

TEST_F(BinaryFormat, IsTakenForKnownTypes) { EXPECT_EQ(Sent(L"select 7, 'a'", false, L"7"), kInBinary); }

TEST_F(BinaryFormat, IsGivenUpForATypeThatIsNotKnown) {
  const std::string both = std::string(kInBinary) + kInText;
  EXPECT_EQ(Sent(L"select 7, array[1, 2]", false, L"7"), both);
  EXPECT_EQ(Sent(L"select 0.1::float4", false, L"0.1"), both);
  EXPECT_EQ(Sent(L"select date '2024-02-29'", false, L"2024-02-29"), both);
}

TEST_F(BinaryFormat, IsGivenUpForATypeWithoutBinaryFormat) {
  const std::wstring user = Ask(L"select current_user");
  EXPECT_EQ(Sent(L"select ('=r/' || current_user)::aclitem", false, L"=r/" + user),
            std::string(kInBinary) + kInText);
}

TEST_F(BinaryFormat, IsNotAskedForWhereSeveralStatementsMayFollow) {
  EXPECT_EQ(Sent(L"select 7; select 8", false, L"7"), kInText);
}

TEST_F(BinaryFormat, IsAskedForTimesInAKnownZoneOnly) {
  const std::wstring query = L"select timestamptz '2024-02-29 20:00:00+00'";
  Ask(L"set time zone 'UTC'");
  EXPECT_EQ(Sent(query, true, L"2024-02-29 20:00:00+00"), kInBinary);
  const Environment zone("TZ", "Asia/Kolkata");
  Ask(L"set time zone 'Asia/Tokyo'");
  EXPECT_EQ(Sent(query, true, L"2024-03-01 05:00:00+09"), kInText);
  EXPECT_EQ(Sent(query, false, L"2024-03-01 05:00:00+09"), std::string(kInBinary) + kInText);
}

TEST_F(BinaryFormat, ComesWithParametersToo) {
  SACommand command(&connection, L"select :1::float8 / 3");
  command.setBinaryResults(false);
  for (const double value : {1.0, 2.0, 3.0}) {
    command << value;
    command.Execute();
    ASSERT_TRUE(command.FetchNext());
    EXPECT_EQ(command.Field(1).asDouble(), value / 3);
  }
}

TEST_F(BinaryFormat, FailsAsTextDoes) {
  EXPECT_EQ(Thrown([&] { Sent(L"select 1 / 0", false, L""); }).SqlState(), "22012");
  EXPECT_EQ(Thrown([&] { Sent(L"select * from missing", false, L""); }).SqlState(), "42P01");
  SACommand command(&connection, L"select 1 / (3 - i) from generate_series(1, 5) i");
  command.setBinaryResults(false);
  command.Execute();
  EXPECT_TRUE(command.FetchNext());
  EXPECT_TRUE(command.FetchNext());
  EXPECT_EQ(Thrown([&] { command.FetchNext(); }).SqlState(), "22012");
}

// A float8 in text loses digits then; in binary it does not.
TEST_F(BinaryFormat, IsExactWhateverTheSessionsDigits) {
  Ask(L"set extra_float_digits = -10");
  SACommand command(&connection, L"select 0.1::float8 + 0.2");
  command.setBinaryResults(false);
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  EXPECT_EQ(command.Field(1).asDouble(), 0.1 + 0.2);
}

}  // namespace
