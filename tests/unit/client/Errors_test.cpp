#include "pq/Errors.h"

#include <ostream>

#include "Caught.h"
#include "pgAPI.h"

struct pg_result {
  std::string text;
  std::string sqlState;
  std::string message;
};
struct pg_conn {
  std::string text;
};

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

TEST(StatementFailures, HaveTheTextAndTheState) {
  const SAException error = pq::StatementFailure(7, "ERROR:  no\nDETAIL:  really");
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_EQ(Wide(error.ErrText()), L"ERROR:  no\nDETAIL:  really");
  EXPECT_EQ(error.SqlState(), "");
  EXPECT_EQ(pq::StatementFailure(7, "ERROR:  no", "42P01").SqlState(), "42P01");
}

TEST(StatementFailures, AreNotTakenForRefusals) {
  EXPECT_EQ(Wide(pq::StatementFailure(7, "ERROR:  Connection refused").ErrText()),
            L"ERROR:  Connection refused");
}

// ErrorText over a table of entry points that read these structures.
std::string TextOf(const pg_result* result, pg_conn connection) {
  pgAPI api;
  api.PQresultErrorMessage = [](const PGresult* failed) {
    static char none[] = "";
    return failed ? const_cast<char*>(failed->text.c_str()) : none;
  };
  api.PQresultErrorField = [](const PGresult* failed, int field) -> char* {
    if (!failed) return nullptr;
    const std::string& value = field == 'C' ? failed->sqlState : failed->message;
    return value.empty() ? nullptr : const_cast<char*>(value.c_str());
  };
  api.PQerrorMessage = [](const PGconn* failed) { return const_cast<char*>(failed->text.c_str()); };
  return ErrorText(api, result, &connection);
}

TEST(ErrorTexts, AreThoseOfTheResultWithoutLineFeedsAtTheirEnd) {
  const pg_result failed = {"ERROR:  no\nDETAIL:  really\r\n\n", "42P01", "no"};
  EXPECT_EQ(TextOf(&failed, {"of the connection\n"}), "ERROR:  no\nDETAIL:  really");
}

TEST(ErrorTexts, AreElseThoseOfTheConnection) {
  const pg_result empty, blank = {"\n", "", ""};
  EXPECT_EQ(TextOf(nullptr, {"of the connection\n"}), "of the connection");
  EXPECT_EQ(TextOf(&empty, {"of the connection\n"}), "of the connection");
  EXPECT_EQ(TextOf(&blank, {"of the connection\n"}), "of the connection");
  EXPECT_EQ(TextOf(&empty, {""}), "");
}

TEST(ErrorTexts, QuoteNoRows) {
  for (const char* sqlState : {"22P04", "23502", "44000"}) {
    const pg_result failed = {"ERROR:  refused\nDETAIL:  Failing row contains (x).\n", sqlState, "refused"};
    EXPECT_EQ(TextOf(&failed, {""}), "ERROR:  refused") << sqlState;
  }
  const pg_result ends = {"ERROR:  refused\n\nDETAIL:  Key (x).\n", "23505", "refused\n"};
  EXPECT_EQ(TextOf(&ends, {""}), "ERROR:  refused");
}

TEST(UsageErrors, AreErrorsOfTheLibrary) {
  const SAException error = pq::UsageError(L"no such column");
  EXPECT_EQ(error.ErrClass(), SA_Library_Error);
  EXPECT_EQ(error.ErrNativeCode(), 0);
  EXPECT_EQ(Wide(error.ErrText()), L"no such column");
}

}  // namespace
