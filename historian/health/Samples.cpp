// What was stored recently, and which tags have stopped.

#include <algorithm>

#include "historian/Trend.h"
#include "historian/health/Examination.h"

namespace historian {
namespace {

// The age of the newest sample in seconds (negative when it is in the future), its time, the time of the
// oldest sample, and the samples per second in the last five minutes.
constexpr char kNewest[] =
    "select extract(epoch from now() - max(time)), "
    "to_char(max(time) at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS'), "
    "to_char(min(time) at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS'), "
    "(select round(count(*) / 300.0, 1) from datalog where time > now() - interval '5 minutes' and time <= now()) "
    "from datalog";

constexpr double kClocksDiffer = 300;
constexpr std::size_t kMostNames = 5;
constexpr auto kForgotten = std::chrono::days(7);

std::string Span(double seconds) {
  const bool days = seconds > 2 * 86400;
  return std::to_string(static_cast<std::int64_t>(seconds / (days ? 86400 : 60))) +
         (days ? " days" : " minutes");
}

}  // namespace

void CheckNewestSample(Examination& at) {
  const Result newest = at.link.Run(kNewest);
  const std::string check = "newest sample";
  if (newest.IsNull(0, 0))
    return at.Warn(check, "no sample is stored", "start a recorder, or: historian import FILE");
  const double age = newest.Number(0, 0);
  const std::string time = std::string(newest.Text(0, 1)) + " UTC";
  if (age < -kClocksDiffer) {
    at.Warn(check, time + ", " + Span(-age) + " in the future",
            "set the clock of the recorder and of the server");
  } else if (age > 60.0 * static_cast<double>(at.options.lateAfter.count())) {
    at.Warn(check, time + ", " + Span(age) + " ago", "look at the recorder: historian spool FILE");
  } else {
    at.Ok(check, time + "; " + std::string(newest.Text(0, 3)) + " samples a second; oldest " +
                     std::string(newest.Text(0, 2)) + " UTC");
  }
}

void CheckStoppedTags(Examination& at) {
  if (at.options.stoppedAfter <= std::chrono::minutes(0)) return;
  const std::vector<TagInfo> tags = ReadTags(at.dbms);
  const auto newest = std::max_element(tags.begin(), tags.end(),
                                       [](const TagInfo& a, const TagInfo& b) { return a.last < b.last; });
  std::string names;
  std::size_t stopped = 0;
  for (const TagInfo& tag : tags) {
    const auto silent = newest->last - tag.last;
    if (silent < at.options.stoppedAfter || silent > kForgotten + at.options.stoppedAfter) continue;
    if (++stopped <= kMostNames) names += (names.empty() ? "" : ", ") + tag.name;
  }
  const std::string all = std::to_string(tags.size()) + " tags";
  if (stopped == 0) return at.Ok("stopped tags", all + ", none has stopped");
  at.Warn("stopped tags",
          std::to_string(stopped) + " of " + all + ": " + names + (stopped > kMostNames ? ", ..." : ""),
          "look at their source: historian tags");
}

}  // namespace historian
