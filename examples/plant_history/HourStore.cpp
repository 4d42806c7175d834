#include "HourStore.h"

#include <algorithm>
#include <limits>

#include "Interrupt.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

// Of 18 values each. A statement takes 65,535, but the larger it is the longer it takes for each row.
constexpr std::size_t kRowsPerInsert = 300;
constexpr std::int64_t kHour = 3600;

// Instants of report rows are read right up to here, in January 2038.
constexpr std::int64_t kLastInstant = std::numeric_limits<std::int32_t>::max();

// The library takes the instants of report rows, which the server gives in the session's zone, for local time
// of the process. Connect has put the session into UTC; while this lives the process is there, too. In a zone
// that changes its clocks, the hour that they repeat would not be read back as it was written.
class InUtc {
 public:
  explicit InUtc(const Stage& stage) : zone_(stage.options.zone) { SetZone("UTC"); }
  ~InUtc() { SetZone(zone_); }
  InUtc(const InUtc&) = delete;
  InUtc& operator=(const InUtc&) = delete;

 private:
  std::string zone_;
};

bool IsEarlier(const ReportAnalogData& a, const ReportAnalogData& b) { return a.time < b.time; }

// Rows are in the order of their times.
const ReportAnalogData* Find(const std::vector<ReportAnalogData>& rows, const ReportAnalogData& wanted) {
  const auto found = std::lower_bound(rows.begin(), rows.end(), wanted, IsEarlier);
  return found != rows.end() && found->time == wanted.time ? &*found : nullptr;
}

}  // namespace

HourStore::HourStore(Stage& stage) : stage_(stage), findings_(stage) {
  stage.summaries.resize(stage.tags.size());
  for (std::size_t tag = 0; tag < stage.tags.size(); ++tag) {
    summaries_[stage.tag_names[tag]] = &stage.summaries[tag];
  }
}

void HourStore::Add(const ReportAnalogData& row) {
  if (row.time > kLastInstant - kHour) {
    ++left_out_;
    return;
  }
  pending_.push_back(row);
  if (pending_.size() == kRowsPerInsert) Finish();
}

void HourStore::Finish() {
  if (pending_.empty()) return;
  ThrowIfInterrupted();
  Require(stage_, stage_.dbms->InsertReportAnalogData(L"hour", pending_), "store the hour report");
  const RowsByTag stored = ReadBack();
  for (const ReportAnalogData& row : pending_) {
    Compare(row, Find(stored.at(row.tag_name), row));
    up_to_ = std::max(up_to_, row.time + kHour);
  }
  rows_ += pending_.size();
  pending_.clear();
}

HourStore::RowsByTag HourStore::ReadBack() {
  const auto [first, last] = std::minmax_element(pending_.begin(), pending_.end(), IsEarlier);
  RowsByTag stored;
  for (const ReportAnalogData& row : pending_) stored[row.tag_name];
  const InUtc zone(stage_);
  Require(stage_, stage_.dbms->GetReportAnalogData(L"hour", first->time, last->time, stored),
          "read the hour report");
  return stored;
}

void HourStore::Compare(const ReportAnalogData& row, const ReportAnalogData* stored) {
  const std::string difference =
      stored != nullptr ? DifferenceOf(row, *stored) : "the database has no such hour";
  if (!difference.empty()) {
    findings_.Add("hour of " + Narrow(row.tag_name) + " from " + FormatTime(row.time * 1000) + ": " +
                  difference);
  }
  if (stored != nullptr) summaries_.at(row.tag_name)->Add(*stored);
}

}  // namespace plant
