#pragma once

#include <DbmsAPI/ReportTypes.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Findings.h"
#include "Stage.h"

namespace plant {

// Takes the rows of the hour report, stores them by the hundreds, reads them back, compares and adds
// them to the summaries of their tags.
class HourStore {
 public:
  explicit HourStore(Stage& stage);

  // The rows of one tag come in the order of their times.
  void Add(const ReportAnalogData& row);
  // Stores what has gathered; to be called when there is no more to come.
  void Finish();

  std::uint64_t rows() const { return rows_; }          // stored
  std::uint64_t left_out() const { return left_out_; }  // whose times could not be read back
  std::int64_t up_to() const { return up_to_; }         // the end of the last hour stored
  Findings& findings() { return findings_; }

 private:
  using Rows = std::vector<ReportAnalogData>;
  using RowsByTag = std::unordered_map<std::wstring, Rows>;

  RowsByTag ReadBack();
  void Compare(const ReportAnalogData& row, const ReportAnalogData* stored);

  Stage& stage_;
  Findings findings_;
  std::unordered_map<std::wstring, HourSummary*> summaries_;  // by tag
  Rows pending_;                                              // not stored yet
  std::uint64_t rows_ = 0;
  std::uint64_t left_out_ = 0;
  std::int64_t up_to_ = 0;
};

}  // namespace plant
