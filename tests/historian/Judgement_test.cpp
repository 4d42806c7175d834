#include "historian/health/Judgement.h"

#include <gtest/gtest.h>

namespace historian {
namespace {

TEST(JudgementTest, TheServerIsToBeOfATestedVersion) {
  EXPECT_EQ(JudgeServerVersion(150020, "15.20").verdict, Verdict::Ok);
  EXPECT_EQ(JudgeServerVersion(150020, "15.20").advice, "");
  EXPECT_EQ(JudgeServerVersion(140011, "14.11").verdict, Verdict::Ok);
  EXPECT_EQ(JudgeServerVersion(180004, "18.4").verdict, Verdict::Ok);
  EXPECT_EQ(JudgeServerVersion(190000, "19.0").verdict, Verdict::Warning);
  EXPECT_NE(JudgeServerVersion(190000, "19.0").advice, "");
  EXPECT_EQ(JudgeServerVersion(130014, "13.14").verdict, Verdict::Failed);
}

struct Extension {
  const char* version;
  Verdict verdict;
  const char* part;
};

constexpr Extension kExtensions[] = {{"2.11.0", Verdict::Warning, "not tested"},
                                     {"2.12.2", Verdict::Warning, "CreateLogTable"},
                                     {"2.15.3", Verdict::Warning, "CreateLogTable"},
                                     {"2.16.0", Verdict::Failed, "loses samples"},
                                     {"2.17.2", Verdict::Failed, "loses samples"},
                                     {"2.18.0", Verdict::Failed, "loses samples"},
                                     {"2.18.1", Verdict::Warning, "CreateLogTable"},
                                     {"2.19.3", Verdict::Warning, "CreateLogTable"},
                                     {"2.20.0", Verdict::Ok, "2.20.0"},
                                     {"2.28.3", Verdict::Ok, "2.28.3"},
                                     {"2.28.9", Verdict::Ok, "2.28.9"},
                                     {"2.29.0", Verdict::Warning, "not tested"},
                                     {"3.0.0", Verdict::Warning, "not tested"},
                                     {"2.30.0-dev", Verdict::Warning, "not tested"}};

TEST(JudgementTest, ReleasesOfTheExtensionHaveTheirFaults) {
  for (const auto& [version, verdict, part] : kExtensions) {
    const Finding finding = JudgeExtension(version);
    EXPECT_EQ(finding.verdict, verdict) << version;
    EXPECT_NE(finding.found.find(part), std::string::npos) << finding.found;
    EXPECT_EQ(finding.advice.empty(), verdict == Verdict::Ok) << version;
  }
  // The release that the advice names.
  EXPECT_EQ(JudgeExtension("2.17.2").advice, "alter extension timescaledb update to '2.28.3'");
}

TEST(JudgementTest, JobsAreToRunAndToSucceed) {
  Job job{1001, "policy_retention of datalog", true, false, "", -60};
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Ok);
  job.secondsLate = 3599;
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Ok);
  job.secondsLate = 7200;
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Warning);
  EXPECT_NE(JudgeJob(job).found.find("120 minutes"), std::string::npos);
  job.secondsLate = -60;
  job.failed = true;
  job.error = "disk full";
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Failed);
  EXPECT_NE(JudgeJob(job).found.find("disk full"), std::string::npos);
  EXPECT_EQ(JudgeJob(job).advice, "select alter_job(1001, next_start => now())");
  job.error.clear();
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Failed);
  job.error = "cannot drop portal \"\" while it is being set up";
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Ok);
  job.scheduled = false;
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Warning);
}

TEST(JudgementTest, ARefreshCountedAsFailedIsToComeBackSoon) {
  Job job{1002,
          "policy_refresh_continuous_aggregate of datalog_1m",
          true,
          true,
          "cannot drop portal \"\" while it is being set up",
          -60,
          true,
          120};
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Warning);
  EXPECT_NE(JudgeJob(job).found.find("put off by 120 seconds"), std::string::npos);
  EXPECT_EQ(JudgeJob(job).advice, "select alter_job(1002, retry_period => interval '5 seconds')");
  job.secondsOfRetry = 5;
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Ok);
  job.secondsOfRetry = 120;
  job.failed = false;
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Ok);
  job.failed = true;
  job.refreshes = false;
  EXPECT_EQ(JudgeJob(job).verdict, Verdict::Ok);
}

TEST(JudgementTest, LocksAreToSufficeTwice) {
  EXPECT_EQ(JudgeLocks(3200, 6400, 64).verdict, Verdict::Ok);
  EXPECT_EQ(JudgeLocks(3201, 6400, 64).verdict, Verdict::Warning);
  EXPECT_EQ(JudgeLocks(6401, 6400, 64).verdict, Verdict::Failed);
  // 64 of 100 sessions: with 256 there are 25600, of which half are enough twice over.
  EXPECT_EQ(JudgeLocks(6400, 6400, 64).advice,
            "alter system set max_locks_per_transaction = 256; restart the server");
  EXPECT_EQ(JudgeLocks(6400, 25600, 256).verdict, Verdict::Ok);
}

TEST(JudgementTest, TheDiskIsToHaveRoom) {
  constexpr std::uint64_t kGigabyte = 1'000'000'000;
  EXPECT_EQ(JudgeDisk(100 * kGigabyte, 10 * kGigabyte, true).verdict, Verdict::Ok);
  EXPECT_EQ(JudgeDisk(100 * kGigabyte, 9 * kGigabyte, true).verdict, Verdict::Warning);
  EXPECT_EQ(JudgeDisk(100 * kGigabyte, 9 * kGigabyte, true).found, "9.0 GB of 100.0 GB are free");
  EXPECT_EQ(JudgeDisk(100 * kGigabyte, kGigabyte, true).verdict, Verdict::Failed);
  EXPECT_EQ(JudgeDisk(10 * kGigabyte, 2 * kGigabyte, true).verdict, Verdict::Ok);
  EXPECT_EQ(JudgeDisk(10 * kGigabyte, kGigabyte + kGigabyte / 2, true).verdict, Verdict::Warning);
  EXPECT_EQ(JudgeDisk(10 * kGigabyte, kGigabyte - 1, true).verdict, Verdict::Failed);
  EXPECT_EQ(JudgeDisk(10 * kGigabyte, 0, true).advice,
            "add space, or keep less: historian init --retention DAYS");
  // A plain table drops nothing.
  EXPECT_EQ(JudgeDisk(10 * kGigabyte, 0, false).advice, "add space");
}

TEST(JudgementTest, TheWorstFindingCounts) {
  HealthReport report;
  EXPECT_EQ(report.Worst(), Verdict::Ok);
  report.findings = {
      {"a", Verdict::Ok, "", ""}, {"b", Verdict::Failed, "", ""}, {"c", Verdict::Warning, "", ""}};
  EXPECT_EQ(report.Worst(), Verdict::Failed);
  EXPECT_EQ(static_cast<int>(report.Worst()), 2);
}

}  // namespace
}  // namespace historian
