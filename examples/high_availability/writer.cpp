// A client that writes while a cluster is broken:
//
//   writer NAME HOST PORT DATABASE USER PASSWORD
//
// It creates the tables and prints "writing". Then, every 50 ms, it stores a sample with InsertLogData,
// repeating that until it succeeds, and passes a log record to a recorder. It prints the messages of
// failures. After a line on standard input it goes on until the next sample is stored and the recorder has
// nothing left. Then it prints the longest time without a stored sample in seconds, the number of samples and
// of records that were confirmed, and the text of the last failure.

#include <DbmsAPI/Diagnostics.h>
#include <historian/Recorder.h>

#include <algorithm>
#include <atomic>
#include <iomanip>
#include <iostream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPace{50};
constexpr std::chrono::minutes kLongEnough{4};

struct Result {
  std::chrono::duration<double> longestGap{0};
  std::int64_t samples = 0;
};

std::wstring Wide(const std::string& text) { return {text.begin(), text.end()}; }

std::int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The message of a failure may have several lines; what is not ASCII does not matter here.
std::string OneLine(const std::wstring& text) {
  std::string line;
  for (const wchar_t c : text) line += c >= L' ' && c < 0x7F ? static_cast<char>(c) : ' ';
  return line;
}

// Stores the sample; returns false when no server has accepted it for far too long.
bool Store(Dbms& dbms, const LogSample& sample) {
  const auto end = Clock::now() + kLongEnough;
  std::string reported;
  while (!dbms.InsertLogData({sample})) {
    std::string error = OneLine(dbms.GetLastError());
    if (error != reported) std::cout << (reported = std::move(error)) << std::endl;
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(kPace);
  }
  return true;
}

bool Write(Dbms& dbms, historian::Recorder& recorder, const std::wstring& name,
           const std::atomic<bool>& enough, Result& result) {
  Clock::time_point last = Clock::now();
  for (std::int64_t timeMs = NowMs();; timeMs = std::max(timeMs + 1, NowMs())) {
    const bool isLast = enough;
    if (!recorder.Record({SystemLogRecord{.time = timeMs, .user_id = name, .message = name}})) return false;
    if (!Store(dbms, {timeMs, name, static_cast<double>(result.samples)})) return false;
    const Clock::time_point now = Clock::now();
    if (result.samples++ > 0)
      result.longestGap = std::max<std::chrono::duration<double>>(result.longestGap, now - last);
    last = now;
    if (result.samples == 20) std::cout << "writing" << std::endl;
    if (isLast) return recorder.WaitUntilStored(kLongEnough);
    std::this_thread::sleep_for(kPace);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) return 2;
  SetDbmsDebugSink([](const wchar_t*) {});
  const auto connect = [&] {
    return Dbms::GetDbms(DbmsType::TirelScada, Wide(argv[2]).c_str(), std::stoi(argv[3]),
                         Wide(argv[4]).c_str(), Wide(argv[5]).c_str(), Wide(argv[6]).c_str());
  };
  const auto dbms = connect();
  if (!dbms->CreateSystemLogTable(0) || !dbms->CreateLogTable(0)) {
    std::cout << OneLine(dbms->GetLastError()) << std::endl;
    return 1;
  }
  historian::Recorder recorder(connect(), {.spool = std::string(argv[1]) + ".spool"});
  std::atomic<bool> enough = false;
  std::thread listener([&] {
    std::string line;
    std::getline(std::cin, line);
    enough = true;
  });
  Result result;
  const bool done = Write(*dbms, recorder, Wide(argv[1]), enough, result);
  std::cout << std::fixed << std::setprecision(1) << result.longestGap.count() << ' ' << result.samples << ' '
            << recorder.Report().stored << ' ' << recorder.Report().duplicates << ' '
            << OneLine(dbms->GetLastError()) << std::endl;
  listener.join();
  return done ? 0 : 1;
}
