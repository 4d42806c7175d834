// Writes a spool with 1,000 samples and an alarm that were not sent to any server: make_spool FILE
#include <DbmsAPI/Diagnostics.h>

#include "historian/Recorder.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  SetDbmsDebugSink([](const wchar_t*) {});
  // Nothing listens on port 1.
  historian::Recorder recorder(Dbms::GetDbms(DbmsType::PostgreSQL, L"127.0.0.1", 1, L"plant", L"nobody", L""),
                               {.spool = argv[1]});
  std::vector<LogSample> samples;
  for (int i = 0; i < 1000; ++i) samples.push_back({1'772'431'200'000 + i * 1000, L"BOILER.TEMP", i / 8.0});
  AlarmRecord alarm;
  alarm.timeMs = alarm.occTimeMs = 1'772'431'200'000;
  alarm.tagName = L"BOILER.TEMP";
  alarm.label = L"too hot";
  return recorder.Record(samples) && recorder.Record(std::vector<AlarmRecord>{alarm}) ? 0 : 1;
}
