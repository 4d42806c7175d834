#include "pq/Parameters.h"

#include <cfloat>

#include "Caught.h"

namespace {

using Types = std::vector<unsigned>;

// The parameters as they are sent: `type format bytes`, binary bytes in hexadecimal.
std::string Sent(const pq::Parameters& parameters, int index) {
  const auto i = static_cast<std::size_t>(index);
  const std::string head =
      std::to_string(parameters.Types()[i]) + (parameters.Formats()[i] ? " binary " : " text ");
  const char* value = parameters.Values()[i];
  if (!value) return head + "NULL";
  std::string bytes(value, static_cast<std::size_t>(parameters.Lengths()[i]));
  if (!parameters.Formats()[i]) return head + bytes;
  std::string digits;
  for (const char byte : bytes) {
    digits += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
    digits += "0123456789abcdef"[static_cast<unsigned char>(byte) & 15];
  }
  return head + digits;
}

class ParametersTest : public ::testing::Test {
 protected:
  SAParam& Add() { return values.emplace_back(std::to_wstring(values.size() + 1).c_str()); }

  std::string SentAlone() {
    parameters.Bind(values);
    EXPECT_EQ(parameters.Count(), 1);
    return Sent(parameters, 0);
  }

  std::vector<SAParam> values;
  pq::Parameters parameters;
};

TEST_F(ParametersTest, SendNumbersInBinaryWithTheirTypes) {
  SAParam& value = Add();
  value.setAsBool() = true;
  EXPECT_EQ(SentAlone(), "16 binary 01");
  value.setAsBool() = false;
  EXPECT_EQ(SentAlone(), "16 binary 00");
  value.setAsShort() = -2;
  EXPECT_EQ(SentAlone(), "21 binary fffe");
  value.setAsLong() = 0x01020304;
  EXPECT_EQ(SentAlone(), "23 binary 01020304");
  value.setAsInt64() = INT64_MIN;
  EXPECT_EQ(SentAlone(), "20 binary 8000000000000000");
  value.setAsDouble() = 1.5;
  EXPECT_EQ(SentAlone(), "701 binary 3ff8000000000000");
  value.setAsDouble() = DBL_MAX;
  EXPECT_EQ(SentAlone(), "701 binary 7fefffffffffffff");
}

TEST_F(ParametersTest, SendTextsWithoutATypeInUtf8) {
  SAParam& value = Add();
  value.setAsString() = L"a\u20ac'\\";
  EXPECT_EQ(SentAlone(), "0 text a\xE2\x82\xAC'\\");
  value.setAsString() = L"";
  EXPECT_EQ(SentAlone(), "0 text ");
  EXPECT_STREQ(parameters.Values()[0], "");
}

TEST_F(ParametersTest, SendNullWithoutAType) {
  Add().setAsNull();
  EXPECT_EQ(SentAlone(), "0 text NULL");
}

TEST_F(ParametersTest, AreInTheirOrder) {
  Add().setAsLong() = 1;
  Add().setAsString() = L"two";
  Add().setAsNull();
  Add().setAsShort() = 4;
  parameters.Bind(values);
  ASSERT_EQ(parameters.Count(), 4);
  EXPECT_EQ(Sent(parameters, 0), "23 binary 00000001");
  EXPECT_EQ(Sent(parameters, 1), "0 text two");
  EXPECT_EQ(Sent(parameters, 2), "0 text NULL");
  EXPECT_EQ(Sent(parameters, 3), "21 binary 0004");
}

TEST_F(ParametersTest, ForgetFormerValues) {
  Add().setAsLong() = 1;
  Add().setAsString() = L"two";
  parameters.Bind(values);
  values[0].setAsNull();
  values.pop_back();
  EXPECT_EQ(SentAlone(), "0 text NULL");
}

TEST_F(ParametersTest, MayBeMany) {
  for (int i = 0; i < 20000; ++i) {
    if (i % 2 == 0) {
      Add().setAsString() = (L"text " + std::to_wstring(i)).c_str();
    } else {
      Add().setAsLong() = i;
    }
  }
  parameters.Bind(values);
  for (int i = 0; i < 20000; i += 2) ASSERT_EQ(Sent(parameters, i), "0 text text " + std::to_string(i));
  EXPECT_EQ(Sent(parameters, 19999), "23 binary 00004e1f");
  EXPECT_EQ(values[19999].Name(), L"20000");

  values.resize(1, SAParam(1));
  EXPECT_EQ(SentAlone(), "0 text text 0");
}

TEST_F(ParametersTest, AreNamedByTheirNumber) {
  EXPECT_EQ(SAParam(1).Name(), L"1");
  EXPECT_EQ(SAParam(0).Name(), L"0");
  EXPECT_EQ(SAParam(65535).Name(), L"65535");
  EXPECT_EQ(SAParam(L"level").Name(), L"level");
}

TEST_F(ParametersTest, MustBeBound) {
  Add().setAsLong() = 1;
  Add();
  EXPECT_EQ(UsageErrorText([&] { parameters.Bind(values); }), L"The parameter :2 has no value");
}

TEST_F(ParametersTest, MustNotHoldANulCharacter) {
  Add().setAsString() = SAString(L"a\0b", 3);
  EXPECT_EQ(UsageErrorText([&] { parameters.Bind(values); }), L"The parameter :1 holds a NUL character");
}

TEST_F(ParametersTest, MustNotBeLongerThanTheServerTakes) {
  EXPECT_EQ(pq::Parameters::kMaxTextSize, 1073741824u);
  pq::Parameters small(6);
  Add().setAsString() = L"\u20ac\u20ac";
  small.Bind(values);
  EXPECT_EQ(Sent(small, 0), "0 text \xE2\x82\xAC\xE2\x82\xAC");
  for (const wchar_t* text : {L"\u20ac\u20aca", L"1234567"}) {
    values[0].setAsString() = text;
    EXPECT_EQ(UsageErrorText([&] { small.Bind(values); }),
              L"The parameter :1 is longer than the server takes");
  }
}

TEST_F(ParametersTest, FitTheTypesTheyWereParsedFor) {
  Add().setAsLong() = 1;
  Add().setAsString() = L"two";
  parameters.Bind(values);
  EXPECT_TRUE(parameters.Fit({23, 0}));
  EXPECT_FALSE(parameters.Fit({20, 0}));
  EXPECT_FALSE(parameters.Fit({0, 0}));
  EXPECT_FALSE(parameters.Fit({23, 23}));
  EXPECT_FALSE(parameters.Fit({23}));
  values[0].setAsNull();
  values[1].setAsNull();
  parameters.Bind(values);
  EXPECT_TRUE(parameters.Fit({23, 701}));
}

TEST_F(ParametersTest, LeaveTheFormerTypeWhereTheyAreNull) {
  Add().setAsLong() = 1;
  Add().setAsNull();
  parameters.Bind(values);
  Types types;
  parameters.UpdateTypes(types);
  EXPECT_EQ(types, (Types{23, 0}));
  values[0].setAsNull();
  values[1].setAsDouble() = 2;
  parameters.Bind(values);
  parameters.UpdateTypes(types);
  EXPECT_EQ(types, (Types{23, 701}));
}

}  // namespace
