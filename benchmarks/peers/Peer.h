#pragma once

#include <memory>
#include <string>
#include <vector>

#include "../BenchServer.h"
#include "../baseline/Baseline.h"

// Other libraries that do the same work, each in the fastest way that its manual shows.

namespace peers {

class Peer {
 public:
  virtual ~Peer() = default;

  virtual std::string Name() const = 0;

  // Queries into the library's containers.
  virtual void ReadHistory(const std::string& query, baseline::History& data) = 0;
  virtual void ReadAlarms(const std::string& query, std::vector<AlarmRecord>& records) = 0;
  virtual void ReadReports(const std::string& query, baseline::Reports& data) = 0;
  virtual void ReadUserLogs(const std::string& query, std::vector<UserLogRow>& records) = 0;

  // Stores samples in one transaction and skips those already stored. Uses COPY where the library has it,
  // else its bulk form of a prepared insert.
  virtual void InsertHistory(const std::vector<LogSample>& samples) = 0;
};

// The libraries that CMake found, each connected.
std::vector<std::unique_ptr<Peer>> AllPeers(const bench::BenchServer& server);

std::unique_ptr<Peer> MakePqxx(const bench::BenchServer& server);
std::unique_ptr<Peer> MakeSoci(const bench::BenchServer& server);
std::unique_ptr<Peer> MakeQt(const bench::BenchServer& server);
std::unique_ptr<Peer> MakeOdbc(const bench::BenchServer& server);

// Texts here are plain ASCII.
inline std::wstring Wide(const std::string& text) { return {text.begin(), text.end()}; }
inline std::string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

inline constexpr char kInsertSample[] =
    "insert into datalog values(to_timestamp(:time), :name, :value) on conflict (time, tag_name) do nothing";
inline constexpr std::size_t kRowsAtOnce = 1000;  // for libraries that bind arrays

}  // namespace peers
