#include "pq/Errors.h"

#include <ostream>

#include "Caught.h"

namespace {

struct Refusal {
  const char* name;
  const char* text;
  const char* refused;  // in the process's language
  const wchar_t* spelled;
};

void PrintTo(const Refusal& tested, std::ostream* out) { *out << tested.name; }

class ConnectFailures : public ::testing::TestWithParam<Refusal> {};

TEST_P(ConnectFailures, NumberRefusals) {
  const SAException error = pq::ConnectFailure(GetParam().text, GetParam().refused);
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_EQ(Wide(error.ErrText()), GetParam().spelled);
}

const Refusal kRefusals[] = {
    {"English", "failed: Connection refused\n\tIs the server running?\n", "Connection refused",
     L"failed: Connection refused (0x0000274D/10061)\n\tIs the server running?"},
    {"AtTheEnd", "Connection refused", "Connection refused", L"Connection refused (0x0000274D/10061)"},
    {"OwnLanguage", "fehlgeschlagen: Verbindungsaufbau abgelehnt\n\tL\xC3\xA4uft er?\n",
     "Verbindungsaufbau abgelehnt",
     L"fehlgeschlagen: Verbindungsaufbau abgelehnt (0x0000274D/10061)\n\tL\u00e4uft er?"},
    {"EnglishInAnotherLanguage", "Connection refused\n",
     "Connexion refus\xC3\xA9"
     "e",
     L"Connection refused (0x0000274D/10061)"},
    {"NumberedAlready", "failed: Connection refused (0x0000274D/10061)\n", "Connection refused",
     L"failed: Connection refused (0x0000274D/10061)"},
    {"TwoHosts", "a: Connection refused\nb: Connection refused\n", "Connection refused",
     L"a: Connection refused (0x0000274D/10061)\nb: Connection refused (0x0000274D/10061)"},
    {"OtherFailure", "FATAL:  password authentication failed for user \"x\"\n", "Connection refused",
     L"FATAL:  password authentication failed for user \"x\""},
    {"NameLikeARefusal", "FATAL:  role \"x: Connection refused\" does not exist\n", "Connection refused",
     L"FATAL:  role \"x: Connection refused\" does not exist"},
    {"NoLocalText", "timeout expired\r\n", "", L"timeout expired"},
    {"Empty", "", "Connection refused", L""},
};

INSTANTIATE_TEST_SUITE_P(All, ConnectFailures, ::testing::ValuesIn(kRefusals),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(StatementFailures, HaveTheTextOfTheResult) {
  const SAException error = pq::StatementFailure(7, "ERROR:  no\nDETAIL:  really\n", "of the connection\n");
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_EQ(Wide(error.ErrText()), L"ERROR:  no\nDETAIL:  really");
  EXPECT_EQ(error.SqlState(), "");
  EXPECT_EQ(pq::StatementFailure(7, "ERROR:  no\n", "", "42P01").SqlState(), "42P01");
}

TEST(StatementFailures, ElseHaveTheTextOfTheConnection) {
  EXPECT_EQ(Wide(pq::StatementFailure(7, "", "of the connection\n").ErrText()), L"of the connection");
  EXPECT_EQ(Wide(pq::StatementFailure(7, "\n", "of the connection\n").ErrText()), L"of the connection");
  EXPECT_EQ(Wide(pq::StatementFailure(7, "", "").ErrText()), L"");
}

TEST(StatementFailures, AreNotTakenForRefusals) {
  EXPECT_EQ(Wide(pq::StatementFailure(7, "ERROR:  Connection refused\n", "").ErrText()),
            L"ERROR:  Connection refused");
}

TEST(UsageErrors, AreErrorsOfTheLibrary) {
  const SAException error = pq::UsageError(L"no such column");
  EXPECT_EQ(error.ErrClass(), SA_Library_Error);
  EXPECT_EQ(error.ErrNativeCode(), 0);
  EXPECT_EQ(Wide(error.ErrText()), L"no such column");
}

}  // namespace
