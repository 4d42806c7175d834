// Uses the installed library: writes a sample and reads it back.
//
//   consumer HOST PORT DATABASE USER PASSWORD

#include <DbmsAPI/Dbms.h>
#include <SQLAPI.h>
#include <pgAPI.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::wstring Wide(const char* text) { return {text, text + std::char_traits<char>::length(text)}; }

int Fail(const char* step, Dbms& dbms) {
  std::fprintf(stderr, "%s: %ls\n", step, dbms.GetLastError());
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return EXIT_FAILURE;
  const auto dbms = Dbms::GetDbms(DbmsType::TirelScada, Wide(argv[1]).c_str(), std::atoi(argv[2]),
                                  Wide(argv[3]).c_str(), Wide(argv[4]).c_str(), Wide(argv[5]).c_str());
  if (!dbms->CreateSystemLogTable(30)) return Fail("system log", *dbms);
  if (!dbms->CreateLogTable(30)) return Fail("tag history", *dbms);
  if (!dbms->InsertLogData({{1700000000123, L"PUMP", 21.5}})) return Fail("insert", *dbms);

  std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"PUMP", {}}};
  if (!dbms->GetLogData(1700000000, 1700000001, data)) return Fail("query", *dbms);
  if (data[L"PUMP"].size() != 1 || data[L"PUMP"][0].value != 21.5) return EXIT_FAILURE;

  // The client layer is available for other statements.
  SACommand command(dbms->GetConnection().get(), L"select count(*) from datalog");
  command.Execute();
  if (!command.FetchNext() || command.Field(1).asLong() != 1) return EXIT_FAILURE;
  if (static_cast<pgConnectionHandles*>(dbms->GetConnection()->NativeHandles())->conn == nullptr)
    return EXIT_FAILURE;

  std::puts("one sample stored and read back");
  return EXIT_SUCCESS;
}
