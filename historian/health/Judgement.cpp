#include "historian/health/Judgement.h"

#include <array>
#include <charconv>
#include <string_view>

namespace historian {
namespace {

using Release = std::array<int, 3>;

constexpr Release kOldestTested = {2, 12, 2};
constexpr Release kFirstThatLoses = {2, 16, 0};
constexpr Release kLastThatLoses = {2, 18, 0};
constexpr Release kFirstRecommended = {2, 20, 0};
constexpr Release kNewestTested = {2, 28, 3};
constexpr int kNewestTestedServer = 18;
constexpr int kOldestServer = 14;  // the first with date_bin

constexpr char kUpdate[] = "alter extension timescaledb update to '2.28.3'";

// PostgreSQL 15.20 reports this error for every background job, after the job has done its work.
constexpr char kHarmlessError[] = "cannot drop portal \"\" while it is being set up";

constexpr double kLongLate = 3600;
// In seconds. The delay is at most 20 times as long, so a job that runs every two minutes is hardly delayed.
constexpr double kShortRetry = 5;
constexpr std::uint64_t kGigabyte = 1'000'000'000;

Release ParseRelease(std::string_view text) {
  Release release{};
  for (int& number : release) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (error != std::errc() || text.empty() || text.front() != '.') break;
    text.remove_prefix(1);
  }
  return release;
}

std::string Gigabytes(std::uint64_t bytes) {
  const std::uint64_t tenths = bytes / (kGigabyte / 10);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " GB";
}

}  // namespace

Finding JudgeServerVersion(int number, const std::string& version) {
  Finding finding{"server version", Verdict::Ok, "PostgreSQL " + version, {}};
  const int major = number / 10'000;
  if (major < kOldestServer) {
    finding.verdict = Verdict::Failed;
    finding.found += ": too old for trends, which use date_bin";
    finding.advice = "update the server to PostgreSQL 15";
  } else if (major > kNewestTestedServer) {
    finding.verdict = Verdict::Warning;
    finding.found += ": not tested; 14 to 18 are";
    finding.advice = "use PostgreSQL 18, or run tools/test.sh against this release";
  }
  return finding;
}

Finding JudgeExtension(const std::string& version) {
  Finding finding{"extension", Verdict::Warning, "TimescaleDB " + version, kUpdate};
  const Release release = ParseRelease(version);
  if (release >= kFirstThatLoses && release <= kLastThatLoses) {
    finding.verdict = Verdict::Failed;
    finding.found +=
        " loses samples: a batch that reaches a compressed chunk ends at the first sample that is stored "
        "already";
  } else if (release < kOldestTested || release[0] > kNewestTested[0] ||
             (release[0] == kNewestTested[0] && release[1] > kNewestTested[1])) {
    finding.found += ": not tested; 2.12.2 to 2.28.3 are";
    if (release > kNewestTested) finding.advice = "run tools/test.sh --timescale " + version;
  } else if (release < kFirstRecommended) {
    finding.found += ": CreateLogTable with a retention fails when it is repeated";
  } else {
    finding.verdict = Verdict::Ok;
    finding.advice.clear();
  }
  return finding;
}

Finding JudgeJob(const Job& job) {
  const std::string id = std::to_string(job.id);
  Finding finding{"job " + id, Verdict::Ok, job.what, {}};
  if (!job.scheduled) {
    finding.verdict = Verdict::Warning;
    finding.found += ": switched off";
    finding.advice = "select alter_job(" + id + ", scheduled => true)";
  } else if (job.failed && job.error != kHarmlessError) {
    finding.verdict = Verdict::Failed;
    finding.found += ": its last run failed" + (job.error.empty() ? "" : ": " + job.error);
    finding.advice = "select alter_job(" + id + ", next_start => now())";
  } else if (job.secondsLate > kLongLate) {
    finding.verdict = Verdict::Warning;
    finding.found +=
        ": due for " + std::to_string(static_cast<std::int64_t>(job.secondsLate / 60)) + " minutes";
    finding.advice = "select alter_job(" + id + ", next_start => now())";
  } else if (job.failed && job.refreshes && job.secondsOfRetry > kShortRetry) {
    finding.verdict = Verdict::Warning;
    finding.found +=
        ": done, but counted as failed and put off by " +
        std::to_string(static_cast<std::int64_t>(job.secondsOfRetry)) +
        " seconds for every failure in a row, longer than it looks back: buckets are left out for good";
    finding.advice = "select alter_job(" + id + ", retry_period => interval '5 seconds')";
  } else if (job.failed) {
    finding.found += ": done; reported as failed, as this minor release of PostgreSQL does with every job";
  }
  return finding;
}

Finding JudgeLocks(std::int64_t needed, std::int64_t available, std::int64_t perTransaction) {
  Finding finding{"locks",
                  Verdict::Ok,
                  "reading all chunks of datalog takes " + std::to_string(needed) + " locks of " +
                      std::to_string(available),
                  {}};
  if (needed * 2 <= available) return finding;
  finding.verdict = needed > available ? Verdict::Failed : Verdict::Warning;
  // Twice what half of the locks requires, as a reserve for chunks that are added before the next check.
  const std::int64_t wanted = (perTransaction * needed * 4 + available - 1) / available;
  finding.advice =
      "alter system set max_locks_per_transaction = " + std::to_string(wanted) + "; restart the server";
  return finding;
}

Finding JudgeDisk(std::uint64_t size, std::uint64_t available, bool retention) {
  Finding finding{"disk", Verdict::Ok, Gigabytes(available) + " of " + Gigabytes(size) + " are free", {}};
  if (available >= size / 10 && available >= 2 * kGigabyte) return finding;
  finding.verdict = available < size / 50 || available < kGigabyte ? Verdict::Failed : Verdict::Warning;
  finding.advice = retention ? "add space, or keep less: historian init --retention DAYS" : "add space";
  return finding;
}

}  // namespace historian
