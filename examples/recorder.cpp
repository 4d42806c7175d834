// A simulated plant of 500 tags, sampled once a second, that survives a restart of its server and being
// killed itself:
//
//   recorder HOST PORT DATABASE USER PASSWORD [SECONDS]
//
// Stop the server while it runs: the samples wait in plant.spool and are stored once it is back. At the end
// every sample is read back and compared.

#include <DbmsAPI/Diagnostics.h>
#include <historian/Recorder.h>

#include <cmath>
#include <iostream>
#include <optional>
#include <thread>

namespace {

constexpr int kTags = 500;
constexpr const char* kStates[] = {"storing", "waiting for the server", "refused by the server", "full"};

std::wstring Wide(const std::string& text) { return {text.begin(), text.end()}; }

std::wstring TagName(int tag) { return L"PLANT.TAG" + std::to_wstring(tag); }

std::int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The values of the tags, which a reader can compute again.
double ValueAt(int tag, std::int64_t timeMs) {
  return std::floor(std::sin(tag + static_cast<double>(timeMs) / 1e4) * 1000) / 10;
}

std::vector<LogSample> Scan(std::int64_t timeMs) {
  std::vector<LogSample> samples;
  for (int tag = 0; tag < kTags; ++tag) samples.push_back({timeMs, TagName(tag), ValueAt(tag, timeMs)});
  return samples;
}

void Show(const historian::RecorderReport& report) {
  std::cout << "accepted " << report.accepted << ", stored " << report.stored << ", waiting "
            << report.waiting << ": " << kStates[static_cast<int>(report.state)] << std::endl;
}

// Every sample recorded is in the table, at its time and with its value.
bool Compare(Dbms& dbms, const std::vector<std::int64_t>& scans) {
  std::unordered_map<std::wstring, std::vector<LogPoint>> data;
  for (int tag = 0; tag < kTags; ++tag) data[TagName(tag)];
  if (!dbms.GetLogData(scans.front() / 1000, scans.back() / 1000 + 1, data)) return false;
  for (int tag = 0; tag < kTags; ++tag) {
    const auto& points = data[TagName(tag)];
    if (points.size() != scans.size()) return false;
    for (std::size_t i = 0; i < scans.size(); ++i) {
      if (std::llround(points[i].time * 1000) != scans[i] || points[i].value != ValueAt(tag, scans[i]))
        return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) return 2;
  SetDbmsDebugSink([](const wchar_t*) {});
  const auto connect = [&] {
    return Dbms::GetDbms(DbmsType::TirelScada, Wide(argv[1]).c_str(), std::stoi(argv[2]),
                         Wide(argv[3]).c_str(), Wide(argv[4]).c_str(), Wide(argv[5]).c_str());
  };
  const auto dbms = connect();
  if (!dbms->CreateSystemLogTable(0) || !dbms->CreateLogTable(0)) return 1;
  historian::Recorder recorder(connect(), {.spool = "plant.spool"});
  std::vector<std::int64_t> scans;
  std::optional<historian::RecorderState> shown;
  for (int second = 0; second < (argc > 6 ? std::stoi(argv[6]) : 10); ++second) {
    scans.push_back(NowMs());
    if (!recorder.Record(Scan(scans.back()))) return 1;
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const historian::RecorderReport report = recorder.Report();
    if (report.state != shown) Show(report);
    shown = report.state;
  }
  if (!recorder.WaitUntilStored(std::chrono::minutes(2))) return 1;
  Show(recorder.Report());
  const bool same = (dbms->Connect() && Compare(*dbms, scans)) || Compare(*dbms, scans);
  std::cout << (same ? "every sample is in the database as it was recorded" : "samples differ") << std::endl;
  return same ? 0 : 1;
}
