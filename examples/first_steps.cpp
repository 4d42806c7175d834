#include <DbmsAPI/Dbms.h>

#include <iomanip>
#include <iostream>

// first_steps HOST PORT DATABASE USER PASSWORD
int main(int argc, char** argv) {
  if (argc != 6) return 2;
  const auto wide = [](std::string text) { return std::wstring(text.begin(), text.end()); };
  auto dbms = Dbms::GetDbms(DbmsType::TirelScada, wide(argv[1]).c_str(), std::stoi(argv[2]),
                            wide(argv[3]).c_str(), wide(argv[4]).c_str(), wide(argv[5]).c_str());

  std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"PUMP.SPEED", {}}};
  if (!dbms->CreateSystemLogTable(0) || !dbms->CreateLogTable(0) ||
      !dbms->InsertLogData({{1700000000123, L"PUMP.SPEED", 21.5}, {1700000001123, L"PUMP.SPEED", 21.7}}) ||
      !dbms->GetLogData(1700000000, 1700000060, data)) {
    std::wcerr << dbms->GetLastError() << std::endl;
    return 1;
  }
  std::wcout << std::fixed << std::setprecision(3);
  for (const LogPoint& point : data[L"PUMP.SPEED"])
    std::wcout << point.time << L" s: " << point.value << std::endl;
}
