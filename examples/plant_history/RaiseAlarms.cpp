#include <SQLAPI.h>

#include <map>
#include <tuple>

#include "Findings.h"
#include "History.h"
#include "Interrupt.h"
#include "Progress.h"
#include "Stage.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

// What no two alarms of the table share.
using Key = std::tuple<std::int64_t, std::wstring, std::int16_t>;
using Alarms = std::map<Key, AlarmRecord>;

Key KeyOf(const AlarmRecord& alarm) { return {alarm.timeMs, alarm.tagName, alarm.status}; }

// Bits that select codes in a query.
template <class... Codes>
std::int16_t Mask(Codes... codes) {
  return static_cast<std::int16_t>((0 | ... | (1 << codes)));
}

std::vector<AlarmRecord> Watch(Stage& stage, const History& history) {
  std::vector<AlarmRecord> alarms;
  for (std::size_t tag = 0; tag < stage.tag_names.size(); ++tag) {
    for (const LogPoint& point : history.at(stage.tag_names[tag])) {
      const auto alarm = stage.watches[tag].Add(Milliseconds(point), point.value);
      if (alarm) alarms.push_back(*alarm);
    }
  }
  return alarms;
}

Alarms ReadAlarms(Stage& stage, const Stretch& stretch) {
  std::vector<AlarmRecord> records;
  Require(stage,
          stage.dbms->GetAlarmData(stretch.from, stretch.to, Mask(kAlarmOccurred, kAlarmCleared),
                                   Mask(kHighLimit), Mask(kAlarmLevel), Mask(kAlarmZone), {}, {}, records),
          "read alarms");
  Alarms alarms;
  for (const AlarmRecord& record : records) alarms.emplace(KeyOf(record), record);
  return alarms;
}

// The library stores alarms one by one, each for good as soon as it is stored; a transaction of the client's
// own around them makes it all or none, and saves the server's disk a thousand waits. An alarm that a former
// run has stored would be refused.
void StoreAlarms(Stage& stage, const std::vector<AlarmRecord>& alarms, const Alarms& stored) {
  const std::shared_ptr<SAConnection> connection = stage.dbms->GetConnection();
  SACommand(connection.get(), L"begin").Execute();
  for (const AlarmRecord& alarm : alarms) {
    if (stored.count(KeyOf(AsRead(alarm))) != 0) continue;
    Require(stage,
            stage.dbms->InsertAlarm(alarm.timeMs, alarm.tagName.c_str(), alarm.value, alarm.label.c_str(),
                                    alarm.status, alarm.type, alarm.level, alarm.zone, alarm.occTimeMs,
                                    alarm.freeTimeMs),
            "store an alarm");
  }
  connection->Commit();
}

void CompareAlarms(const std::vector<AlarmRecord>& alarms, const Alarms& stored, Findings& findings) {
  for (const AlarmRecord& alarm : alarms) {
    const auto found = stored.find(KeyOf(AsRead(alarm)));
    const std::string difference =
        found != stored.end() ? DifferenceOf(AsRead(alarm), found->second) : "the database has no such alarm";
    if (difference.empty()) continue;
    findings.Add("alarm of " + Narrow(alarm.tagName) + " at " + FormatTime(alarm.timeMs) + ": " + difference);
  }
}

void SetLimits(Stage& stage) {
  for (std::size_t tag = 0; tag < stage.tag_names.size(); ++tag) {
    stage.watches.emplace_back(stage.tag_names[tag], stage.percentiles[tag].Value());
  }
  stage.terminal.Line();
  stage.terminal.Fact("limits", "of each tag the 99th percentile of its samples, by nearest rank");
}

void Tell(Stage& stage, double seconds) {
  std::uint64_t occurred = 0;
  std::uint64_t cleared = 0;
  for (const AlarmWatch& watch : stage.watches) {
    occurred += watch.occurred();
    cleared += watch.cleared();
  }
  stage.terminal.Fact("alarms", FormatCount(occurred) + " occurred, " + FormatCount(cleared) +
                                    " cleared in " + FormatDuration(seconds));
}

}  // namespace

// Alarms come from what tag history holds, and it is gone through stretch by stretch: memory stays that of
// one however long the file is. The limit of a tag, for want of a process engineer who would set it, is the
// 99th percentile of its samples: the smallest of their values that at least 99 in 100 of them do not exceed.
void RaiseAlarms(Stage& stage) {
  Require(stage, stage.dbms->CreateAlarmTable(stage.options.retention_days), "create alarm history");
  SetLimits(stage);
  Findings findings(stage);
  Progress progress(stage.terminal, "alarms", stage.loaded.rows);
  std::uint64_t rows = 0;
  std::uint64_t records = 0;
  for (const Stretch& stretch : stage.hours.Divide(RowsPerBatch(stage))) {
    ThrowIfInterrupted();
    const std::vector<AlarmRecord> alarms = Watch(stage, ReadStretch(stage, stretch));
    if (!alarms.empty()) {
      StoreAlarms(stage, alarms, ReadAlarms(stage, stretch));
      CompareAlarms(alarms, ReadAlarms(stage, stretch), findings);
    }
    rows += stretch.rows;
    records += alarms.size();
    progress.Show(rows, records, rows * stage.tags.size());
  }
  Tell(stage, progress.Seconds());
  findings.Tell("alarm", "as it was raised");
}

}  // namespace plant
