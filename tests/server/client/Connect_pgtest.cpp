#include "ClientTest.h"

namespace {

class Connecting : public ClientTest {};

TEST_F(Connecting, ReachesTheDatabaseNamed) {
  EXPECT_FALSE(connection.isConnected());
  EXPECT_FALSE(connection.isAlive());
  Connect();
  EXPECT_TRUE(connection.isConnected());
  EXPECT_TRUE(connection.isAlive());
  EXPECT_EQ(Ask(L"select current_database()"), Database());
  EXPECT_EQ(Ask(L"select current_user"), User());
}

TEST_F(Connecting, ReportsTheServersVersion) {
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.ServerVersionString());
  Connect();
  const std::wstring version = Wide(connection.ServerVersionString());
  EXPECT_TRUE(version.starts_with(L"PostgreSQL ")) << version;
  EXPECT_EQ(version, Ask(L"select version()"));
}

TEST_F(Connecting, TwiceIsAnError) {
  Connect();
  EXPECT_SA_ERROR(SA_Library_Error, 0, Connect());
  EXPECT_TRUE(connection.isAlive());
}

TEST_F(Connecting, NamesARefusedConnectionAsWindowsDoes) {
  const DeadPort closed(DeadPort::Refusing);
  const std::wstring server = L"127.0.0.1," + closed.Number() + L"@db";
  const SAException error = Thrown([&] { ConnectTo(connection, server); });
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 1);
  const std::wstring text = Wide(error.ErrText());
  const std::wstring spelled = L"Connection refused (0x0000274D/10061)";
  EXPECT_NE(text.find(spelled), std::wstring::npos) << error.what();
  EXPECT_EQ(text.find(L"10061"), text.rfind(L"10061")) << error.what();
  EXPECT_FALSE(text.ends_with(L'\n'));
  EXPECT_FALSE(connection.isConnected());
}

TEST_F(Connecting, NamesARefusedConnectionUnderATimeLimitToo) {
  const DeadPort closed(DeadPort::Refusing);
  const std::wstring server = L"127.0.0.1," + closed.Number() + L"@dbname=db connect_timeout=60";
  const SAException error = Thrown([&] { ConnectTo(connection, server); });
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_NE(Wide(error.ErrText()).find(L"10061"), std::wstring::npos) << error.what();
}

TEST_F(Connecting, GoesOnToTheNextHost) {
  const DeadPort closed(DeadPort::Refusing);
  ConnectTo(connection, L"@host=127.0.0.1," + Host() + L" port=" + closed.Number() + L"," +
                            std::to_wstring(Port()) + L" dbname=" + Database());
  EXPECT_EQ(Ask(L"select current_database()"), Database());
}

TEST_F(Connecting, GoesOnToTheNextHostWhenOneIsSilentTooLong) {
  const DeadPort silent(DeadPort::Silent);
  ConnectTo(connection, L"@host=127.0.0.1," + Host() + L" port=" + silent.Number() + L"," +
                            std::to_wstring(Port()) + L" connect_timeout=2 dbname=" + Database());
  EXPECT_EQ(Ask(L"select current_database()"), Database());
}

TEST_F(Connecting, GivesUpOnAServerThatIsSilentTooLong) {
  const EnvironmentVariable limit("PGCONNECT_TIMEOUT", "2");
  const DeadPort silent(DeadPort::Silent);
  const SAException error = Thrown([&] { ConnectTo(connection, L"127.0.0.1," + silent.Number() + L"@db"); });
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_NE(Wide(error.ErrText()).find(L"timeout expired"), std::wstring::npos) << error.what();
}

TEST_F(Connecting, ReportsWhatTheServerRefuses) {
  const SAException noDatabase = Thrown([&] { ConnectTo(connection, Server() + L"@no_such_database"); });
  EXPECT_EQ(noDatabase.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(noDatabase.ErrNativeCode(), 1);
  EXPECT_TRUE(Wide(noDatabase.ErrText()).ends_with(L"FATAL:  database \"no_such_database\" does not exist"));
  EXPECT_EQ(Wide(noDatabase.ErrText()).find(L"10061"), std::wstring::npos);
  EXPECT_FALSE(connection.isConnected());
}

TEST_F(Connecting, ReportsAWrongPassword) {
  const std::wstring server = Server() + L"@" + Database();
  const SAException error =
      Thrown([&] { connection.Connect(server.c_str(), User().c_str(), L"not the password"); });
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_NE(Wide(error.ErrText()).find(L"password authentication failed"), std::wstring::npos)
      << error.what() << " - the server must ask for passwords";
}

TEST_F(Connecting, RefusesAnInvalidPort) {
  const SAException error = Thrown([&] { ConnectTo(connection, L"127.0.0.1,-1@db"); });
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_EQ(Wide(error.ErrText()), L"invalid port number: \"-1\"");
}

TEST_F(Connecting, DoesNotQuoteADatabaseTextThatItCannotRead) {
  for (const wchar_t* database : {L"dbname=db password=se cret", L"dbname=db password='secret", L"secret=1",
                                  L"postgresql://u:secret@[::1/db"}) {
    const SAException error = Thrown([&] { ConnectTo(connection, L"@" + std::wstring(database)); });
    EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
    EXPECT_EQ(error.ErrNativeCode(), 1);
    EXPECT_EQ(Wide(error.ErrText()), L"The database text holds keywords that cannot be read");
  }
}

TEST_F(Connecting, RefusesTextsThatWouldBeCutOff) {
  const SAString cut(L"a\0b", 3);
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.Connect(cut, L"user", L"password"));
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.Connect(L"db", cut, L"password"));
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.Connect(L"db", L"user", cut));
}

TEST_F(Connecting, GoesToTheServerNamedWhateverAddressTheDatabaseTextHolds) {
  ConnectTo(connection, Server() + L"@dbname=" + Database() + L" hostaddr=127.0.0.255");
  EXPECT_EQ(Ask(L"select current_database()"), Database());
}

TEST_F(Connecting, WorksAgainAfterAFailure) {
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 1, ConnectTo(connection, Server() + L"@no_such_database"));
  Connect();
  EXPECT_TRUE(connection.isAlive());
}

TEST_F(Connecting, WorksAgainAfterDisconnectAndDestroy) {
  Connect();
  connection.Disconnect();
  EXPECT_FALSE(connection.isConnected());
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.Disconnect());
  Connect();
  connection.Destroy();
  EXPECT_FALSE(connection.isConnected());
  connection.Destroy();
  Connect();
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(Connecting, LeavesNoServerProcess) {
  {
    SAConnection short_lived;
    Connect(short_lived);
  }
  Connect();
  connection.Destroy();
  WaitUntil("select count(*) = 0 from " + std::string(kOtherBackends) + " others");
}

TEST_F(Connecting, TakesKeywordsInTheDatabasePart) {
  ConnectTo(connection,
            Server() + L"@dbname=" + Database() + L" connect_timeout=60 application_name=keyworded");
  EXPECT_EQ(Ask(L"select current_database()"), Database());
  EXPECT_EQ(Ask(L"show application_name"), L"keyworded");
}

TEST_F(Connecting, TakesServerOptionsAfterTheDatabase) {
  ConnectTo(connection, Server() + L"@" + Database() + L";-c work_mem=77MB -c search_path=elsewhere");
  EXPECT_EQ(Ask(L"show work_mem"), L"77MB");
  EXPECT_EQ(Ask(L"show search_path"), L"elsewhere");
}

TEST_F(Connecting, NamesTheLibraryUnlessTheProgramIsNamed) {
  Connect();
  EXPECT_EQ(Ask(L"show application_name"), L"DbmsAPI");
  SAConnection named;
  const EnvironmentVariable name("PGAPPNAME", "the program");
  Connect(named);
  EXPECT_EQ(Ask(named, L"show application_name"), L"the program");
}

TEST_F(Connecting, HeedsTheEnvironment) {
  const EnvironmentVariable options("PGOPTIONS", "-c work_mem=66MB");
  const EnvironmentVariable database("PGDATABASE", std::string(Value("select current_database()")).c_str());
  ConnectTo(connection, Server() + L"@");
  EXPECT_EQ(Ask(L"show work_mem"), L"66MB");
  EXPECT_EQ(Ask(L"select current_database()"), Database());
}

TEST_F(Connecting, SpeaksUtf8WhateverIsSet) {
  const EnvironmentVariable encoding("PGCLIENTENCODING", "LATIN1");
  Run("alter database " + Value("select current_database()") + " set client_encoding = 'LATIN1'");
  ConnectTo(connection,
            Server() + L"@dbname=" + Database() + L" client_encoding=LATIN1;-c client_encoding=LATIN1");
  EXPECT_EQ(Ask(L"show client_encoding"), L"UTF8");
  EXPECT_EQ(Ask(L"select 'd\u00e4mpfer'"), L"d\u00e4mpfer");
}

TEST_F(Connecting, CallsAHandlerBeforeAndAfter) {
  static std::vector<std::pair<int, bool>> stages;
  stages.clear();
  const std::wstring server = Server() + L"@" + Database();
  connection.Connect(server.c_str(), User().c_str(), Password().c_str(), SA_PostgreSQL_Client,
                     [](SAConnection& on, int stage) { stages.emplace_back(stage, on.isConnected()); });
  EXPECT_EQ(stages, (std::vector<std::pair<int, bool>>{{0, false}, {1, true}}));
}

}  // namespace
