// Records the counters of the machine it runs on, once a second, as a CSV of plant measurements: the first
// column is the time, every further column a tag. historian import loads such a file.
//
//   record_machine FILE [SECONDS]
//
// Without SECONDS it records until it is interrupted. Linux only: the counters come from /proc and /sys.
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A counter's value at one moment. A gauge, which has no whole, is written as it is. A ratio is written as
// the increase of its part since the last row, divided by the increase of its whole. For a rate the whole is
// time.
struct Reading {
  std::string tag;
  double part = 0;
  std::optional<double> whole;
};
using Readings = std::vector<Reading>;

constexpr double kSectorsPerKib = 2.0;
constexpr double kKibPerMib = 1024.0;
constexpr double kBytesPerKib = 1024.0;
constexpr double kPercent = 100.0;
constexpr int kSignificantDigits = 4;
constexpr int kMostDecimals = 3;

// The lines of a file of /proc, each cut into its words.
std::vector<std::vector<std::string>> ReadWords(const fs::path& path) {
  std::vector<std::vector<std::string>> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) words.push_back(word);
    if (!words.empty()) lines.push_back(std::move(words));
  }
  return lines;
}

double Number(const std::vector<std::string>& words, std::size_t index) {
  double value = 0;
  if (index < words.size()) {
    const std::string& word = words[index];
    std::from_chars(word.data(), word.data() + word.size(), value);
  }
  return value;
}

// Files of "name value" lines, such as /proc/meminfo.
std::map<std::string, double> ReadNamed(const fs::path& path) {
  std::map<std::string, double> values;
  for (const auto& words : ReadWords(path)) values[words[0]] = Number(words, 1);
  return values;
}

void AddProcessor(Readings& out, double clock) {
  for (const auto& words : ReadWords("/proc/stat")) {
    if (words[0] == "cpu") {
      double whole = 0;  // user nice system idle iowait irq softirq steal
      for (std::size_t i = 1; i <= 8; ++i) whole += Number(words, i);
      out.push_back({"cpu.user_percent", kPercent * (Number(words, 1) + Number(words, 2)), whole});
      const double system = Number(words, 3) + Number(words, 6) + Number(words, 7);
      out.push_back({"cpu.system_percent", kPercent * system, whole});
      out.push_back({"cpu.iowait_percent", kPercent * Number(words, 5), whole});
      out.push_back({"cpu.idle_percent", kPercent * Number(words, 4), whole});
    } else if (words[0] == "intr") {
      out.push_back({"interrupts_s", Number(words, 1), clock});
    } else if (words[0] == "ctxt") {
      out.push_back({"context_switches_s", Number(words, 1), clock});
    } else if (words[0] == "processes") {
      out.push_back({"processes.created_s", Number(words, 1), clock});
    } else if (words[0] == "procs_running") {
      out.push_back({"processes.running", Number(words, 1), {}});
    } else if (words[0] == "procs_blocked") {
      out.push_back({"processes.blocked", Number(words, 1), {}});
    }
  }
}

void AddLoad(Readings& out, double clock) {
  for (const auto& words : ReadWords("/proc/loadavg")) {
    out.push_back({"load.1min", Number(words, 0), {}});
    out.push_back({"load.5min", Number(words, 1), {}});
  }
  // The share of time in which some task waited for the resource; the last word is total=MICROSECONDS.
  for (const char* resource : {"cpu", "io", "memory"}) {
    for (const auto& words : ReadWords(fs::path("/proc/pressure") / resource)) {
      if (words[0] != "some" || words.size() < 5) continue;
      const double seconds = std::strtod(words[4].c_str() + words[4].find('=') + 1, nullptr) / 1e6;
      out.push_back({std::string("pressure.") + resource + "_percent", kPercent * seconds, clock});
    }
  }
}

void AddMemory(Readings& out, double clock) {
  auto memory = ReadNamed("/proc/meminfo");
  for (const auto& [tag, name] : {std::pair{"memory.available_mib", "MemAvailable:"},
                                  {"memory.free_mib", "MemFree:"},
                                  {"memory.cached_mib", "Cached:"},
                                  {"memory.dirty_mib", "Dirty:"}}) {
    if (memory.count(name) != 0) out.push_back({tag, memory[name] / kKibPerMib, {}});
  }
  out.push_back({"memory.page_faults_s", ReadNamed("/proc/vmstat")["pgfault"], clock});
}

// Whole disks that have been read from; partitions and idle loop devices are left out.
void AddDisks(Readings& out, double clock) {
  for (const auto& words : ReadWords("/proc/diskstats")) {
    if (words.size() < 13 || !fs::exists("/sys/block/" + words[2]) || Number(words, 3) == 0) continue;
    const std::string tag = "disk." + words[2];
    out.push_back({tag + ".read_kib_s", Number(words, 5) / kSectorsPerKib, clock});
    out.push_back({tag + ".write_kib_s", Number(words, 9) / kSectorsPerKib, clock});
    out.push_back({tag + ".read_wait_ms", Number(words, 6), Number(words, 3)});
    out.push_back({tag + ".write_wait_ms", Number(words, 10), Number(words, 7)});
    out.push_back({tag + ".busy_percent", kPercent * Number(words, 12) / 1000.0, clock});
  }
}

// Interfaces that have carried anything; a line is "name: received ... sent ...".
void AddNetwork(Readings& out, double clock) {
  for (const auto& words : ReadWords("/proc/net/dev")) {
    if (words.size() < 17 || words[0].back() != ':' || Number(words, 1) + Number(words, 9) == 0) continue;
    const std::string tag = "net." + words[0].substr(0, words[0].size() - 1);
    out.push_back({tag + ".rx_kib_s", Number(words, 1) / kBytesPerKib, clock});
    out.push_back({tag + ".tx_kib_s", Number(words, 9) / kBytesPerKib, clock});
  }
}

// One sensor file in thousandths of a degree; absent or silent sensors give no reading.
void AddTemperature(Readings& out, const std::string& tag, const fs::path& path) {
  for (const auto& words : ReadWords(path)) out.push_back({tag + ".celsius", Number(words, 0) / 1000.0, {}});
}

void AddTemperatures(Readings& out) {
  std::error_code ignored;
  for (const auto& zone : fs::directory_iterator("/sys/class/thermal", ignored)) {
    const std::string name = zone.path().filename();
    if (name.starts_with("thermal_zone")) AddTemperature(out, "temperature." + name, zone.path() / "temp");
  }
  for (const auto& chip : fs::directory_iterator("/sys/class/hwmon", ignored)) {
    for (const auto& sensor : fs::directory_iterator(chip.path(), ignored)) {
      const std::string name = sensor.path().filename();
      if (!name.starts_with("temp") || !name.ends_with("_input")) continue;
      const std::string tag = chip.path().filename().string() + '.' + name.substr(0, name.find('_'));
      AddTemperature(out, "temperature." + tag, sensor.path());
    }
  }
}

Readings TakeReadings() {
  const std::chrono::duration<double> clock = std::chrono::steady_clock::now().time_since_epoch();
  Readings out;
  AddProcessor(out, clock.count());
  AddLoad(out, clock.count());
  AddMemory(out, clock.count());
  AddDisks(out, clock.count());
  AddNetwork(out, clock.count());
  AddTemperatures(out);
  return out;
}

std::optional<double> ValueOf(const std::string& tag, const Readings& before, const Readings& now) {
  const auto bears_tag = [&](const Reading& reading) { return reading.tag == tag; };
  const auto newer = std::find_if(now.begin(), now.end(), bears_tag);
  if (newer == now.end()) return {};
  if (!newer->whole) return newer->part;
  const auto older = std::find_if(before.begin(), before.end(), bears_tag);
  if (older == before.end() || *newer->whole <= *older->whole) return {};
  return std::max(0.0, (newer->part - older->part) / (*newer->whole - *older->whole));
}

// At least four significant digits, never an exponent, no zeros at the end of a fraction.
std::string FormatValue(double value) {
  const double magnitude = std::abs(value) < 1 ? 0 : std::floor(std::log10(std::abs(value)));
  const int decimals = std::clamp(kSignificantDigits - 1 - static_cast<int>(magnitude), 0, kMostDecimals);
  char text[400];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals).ptr;
  std::string number(text, end);
  if (number.find('.') != std::string::npos) number.erase(number.find_last_not_of('0') + 1);
  if (number.back() == '.') number.pop_back();
  return number == "-0" ? "0" : number;
}

std::string FormatNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  char text[32];
  const std::size_t size = strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  const std::string milliseconds = std::to_string(1000 + now.tv_nsec / 1'000'000).substr(1);
  return std::string(text, size) + '.' + milliseconds + 'Z';
}

// Waits for the next whole second; false when SIGINT or SIGTERM, which stay blocked, came first.
bool WaitForNextSecond(const sigset_t& stop) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const timespec rest{0, 1'000'000'000 - std::max(1L, now.tv_nsec)};
  return sigtimedwait(&stop, nullptr, &rest) < 0;
}

int Record(std::ostream& out, std::int64_t seconds) {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  sigprocmask(SIG_BLOCK, &stop, nullptr);

  Readings before = TakeReadings();
  out << "time";
  const Readings columns = before;
  for (const Reading& column : columns) out << ',' << column.tag;
  out << '\n';
  for (std::int64_t row = 0; row < seconds && WaitForNextSecond(stop); ++row) {
    const Readings now = TakeReadings();
    out << FormatNow();
    for (const Reading& column : columns) {
      const auto value = ValueOf(column.tag, before, now);
      out << ',' << (value ? FormatValue(*value) : "");
    }
    out << '\n' << std::flush;
    before = now;
  }
  return out ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: record_machine FILE [SECONDS]\n";
    return 2;
  }
  const std::int64_t seconds = argc == 3 ? std::strtoll(argv[2], nullptr, 10) : INT64_MAX;
  std::ofstream file(argv[1]);
  if (!file) {
    std::cerr << "record_machine: cannot write " << argv[1] << '\n';
    return EXIT_FAILURE;
  }
  return Record(file, seconds);
}
