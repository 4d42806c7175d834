// Uses the installed library historian: loads two samples, and reads the error when the server refuses.
//
//   historian_consumer HOST PORT DATABASE USER PASSWORD

#include <DbmsAPI/Dbms.h>
#include <historian/Backfill.h>
#include <historian/Error.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::wstring Wide(const char* text) { return {text, text + std::char_traits<char>::length(text)}; }

std::optional<std::int64_t> TwoSamples(std::int64_t position, std::vector<LogSample>& samples) {
  if (position > 0) return std::nullopt;
  samples = {{1700000000123, L"PUMP", 21.5}, {1700000001123, L"PUMP", 22}};
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return EXIT_FAILURE;
  const auto dbms = Dbms::GetDbms(DbmsType::TirelScada, Wide(argv[1]).c_str(), std::atoi(argv[2]),
                                  Wide(argv[3]).c_str(), Wide(argv[4]).c_str(), Wide(argv[5]).c_str());
  // An exception crosses from the library into the program.
  try {
    historian::Backfill({dbms}, "consumer", TwoSamples);
    return EXIT_FAILURE;
  } catch (const historian::Error& error) {
    if (error.SqlState() != "42P01") return EXIT_FAILURE;  // no datalog yet
  }
  if (!dbms->CreateLogTable(0)) return EXIT_FAILURE;
  if (historian::Backfill({dbms}, "consumer", TwoSamples).counts.stored != 2) return EXIT_FAILURE;
  std::puts("two samples loaded");
  return EXIT_SUCCESS;
}
