#include <historian/Recorder.h>

// keep_recording HOST PORT DATABASE USER PASSWORD
int main(int argc, char** argv) {
  if (argc != 6) return 2;
  const auto wide = [](std::string text) { return std::wstring(text.begin(), text.end()); };
  auto dbms = Dbms::GetDbms(DbmsType::TirelScada, wide(argv[1]).c_str(), std::stoi(argv[2]),
                            wide(argv[3]).c_str(), wide(argv[4]).c_str(), wide(argv[5]).c_str());
  historian::Recorder recorder(dbms, {.spool = "plant.spool"});
  const std::vector<LogSample> samples = {{1700000000123, L"PUMP.SPEED", 21.5}};
  if (!recorder.Record(samples)) return 1;  // true: safe in plant.spool, server or no server
  return recorder.WaitUntilStored(std::chrono::seconds(10)) ? 0 : 3;  // 3: stored by the next run
}
