#include "pq/ConnectionString.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using pq::ConnectionKeywords;

struct Case {
  const char* name;
  const wchar_t* text;
  ConnectionKeywords parts;  // between the library's name and the encoding
};

void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }

class ConnectionString : public ::testing::TestWithParam<Case> {};

TEST_P(ConnectionString, FallsIntoItsParts) {
  ConnectionKeywords expected = {{"fallback_application_name", "DbmsAPI"}};
  expected.insert(expected.end(), GetParam().parts.begin(), GetParam().parts.end());
  expected.emplace_back("client_encoding", "UTF8");
  EXPECT_EQ(pq::ReadConnectionString(GetParam().text, L"", L""), expected);
}

const Case kCases[] = {
    {"Empty", L"", {}},
    {"Database", L"scada", {{"dbname", "scada"}}},
    {"HostAndDatabase", L"db1@scada", {{"dbname", "scada"}, {"host", "db1"}}},
    {"HostPortAndDatabase", L"db1,5433@scada", {{"dbname", "scada"}, {"host", "db1"}, {"port", "5433"}}},
    {"ServerAlone", L"db1,5433@", {{"host", "db1"}, {"port", "5433"}}},
    {"PortAlone", L",5433@scada", {{"dbname", "scada"}, {"port", "5433"}}},
    {"PortZero", L"db1,0@scada", {{"dbname", "scada"}, {"host", "db1"}}},
    {"NothingButPortZero", L",0@", {}},
    {"NoServer", L"@scada", {{"dbname", "scada"}}},
    {"OptionsAfterTheDatabase",
     L"db1@scada;-c a=b",
     {{"dbname", "scada"}, {"host", "db1"}, {"options", "-c a=b"}}},
    {"OptionsWithoutServer", L"scada;-c a=b", {{"dbname", "scada"}, {"options", "-c a=b"}}},
    {"OptionsAlone", L";-c a=b", {{"options", "-c a=b"}}},
    {"EmptyOptions", L"scada;", {{"dbname", "scada"}}},
    {"OptionsEndAtNoSemicolon", L"scada;a;b", {{"dbname", "scada"}, {"options", "a;b"}}},
    {"QuotedSemicolon",
     L"dbname='a;b' password = 'c\\';d';-c a='b'",
     {{"dbname", "dbname='a;b' password = 'c\\';d'"}, {"options", "-c a='b'"}}},
    {"QuoteInAName", L"o'brien;-c a=b", {{"dbname", "o'brien"}, {"options", "-c a=b"}}},
    {"SemicolonInTheServer", L"a;b@scada", {{"dbname", "scada"}, {"host", "a;b"}}},
    {"FirstAtSignCounts", L"db1@user=a@b", {{"dbname", "user=a@b"}, {"host", "db1"}}},
    {"Keywords",
     L"db1,5433@dbname=scada connect_timeout=3 sslmode=verify-full",
     {{"dbname", "dbname=scada connect_timeout=3 sslmode=verify-full"}, {"host", "db1"}, {"port", "5433"}}},
    {"Uri", L"@postgresql://u@h/db", {{"dbname", "postgresql://u@h/db"}}},
    {"SocketFolder",
     L"/run/postgresql,5433@scada",
     {{"dbname", "scada"}, {"host", "/run/postgresql"}, {"port", "5433"}}},
    {"SocketFolderWithoutPort", L"/run/postgresql@scada", {{"dbname", "scada"}, {"host", "/run/postgresql"}}},
    {"SeveralHosts", L"db1,db2,5433@scada", {{"dbname", "scada"}, {"host", "db1,db2"}, {"port", "5433"}}},
    {"SeveralHostsWithoutPort", L"db1,db2@scada", {{"dbname", "scada"}, {"host", "db1,db2"}}},
    {"CommaWithoutPort", L"db1,@scada", {{"dbname", "scada"}, {"host", "db1,"}}},
    {"NegativePort", L"db1,-1@scada", {{"dbname", "scada"}, {"host", "db1"}, {"port", "-1"}}},
    {"DashIsNoPort", L"db1,-@scada", {{"dbname", "scada"}, {"host", "db1,-"}}},
    {"Ipv6", L"::1,5433@scada", {{"dbname", "scada"}, {"host", "::1"}, {"port", "5433"}}},
    {"InUtf8", L"h\u00f6st@d\u00e4mpfer", {{"dbname", "d\xC3\xA4mpfer"}, {"host", "h\xC3\xB6st"}}},
};

INSTANTIATE_TEST_SUITE_P(All, ConnectionString, ::testing::ValuesIn(kCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

// Later keywords override earlier ones: server, user and password override the database's text, the encoding
// overrides everything.
TEST(ConnectionStringOrder, PutsTheEncodingLast) {
  const ConnectionKeywords expected = {{"fallback_application_name", "DbmsAPI"},
                                       {"dbname", "dbname=scada client_encoding=LATIN1"},
                                       {"host", "db1"},
                                       {"port", "5433"},
                                       {"user", "ope\xC3\xB1"},
                                       {"password", "s3cret"},
                                       {"options", "-c client_encoding=LATIN1"},
                                       {"client_encoding", "UTF8"}};
  EXPECT_EQ(
      pq::ReadConnectionString(L"db1,5433@dbname=scada client_encoding=LATIN1;-c client_encoding=LATIN1",
                               L"ope\u00f1", L"s3cret"),
      expected);
}

}  // namespace
