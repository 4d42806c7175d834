#include <functional>
#include <limits>

#include "historian/recorder/SpoolFile.h"

namespace historian::recorder {
namespace {

constexpr std::int64_t kMostProbes = 1000000;  // limit of ids tried one by one between two damaged places

bool IsWhole(Kind kind, const SqliteStatement& block) {
  const std::string_view data = block.Bytes(4);
  const std::int64_t records = block.Integer(1);
  return records > 0 && Checksum(data) == block.Integer(3) &&
         SplitRecords(kind, data, static_cast<std::size_t>(records)).has_value();
}

// Runs an action on a database that may be damaged; returns false when it met a damaged page.
bool Attempt(const std::function<void()>& action) {
  try {
    action();
    return true;
  } catch (const SqliteFailure& failure) {
    if (!failure.IsDamaged()) throw;
    return false;
  }
}

// Copies the blocks of one kind: from the first one up to the damage, from the last one down to it, then
// those in between one by one.
class BlockCopy {
 public:
  BlockCopy(SqliteDatabase& damaged, SqliteDatabase& target, Kind kind)
      : damaged_(damaged),
        kind_(kind),
        select_("select id, records, arrived, checksum, data from " + std::string(BlockTable(kind))),
        insert_(target.Prepare(("insert or ignore into " + std::string(BlockTable(kind)) +
                                " (id, records, arrived, checksum, data) values (?, ?, ?, ?, ?)")
                                   .c_str())) {}

  void Run() {
    if (Scan(" order by id", [this](std::int64_t id) { front_ = id; })) return;
    Scan(" order by id desc", [this](std::int64_t id) { end_ = id; });
    if (end_ == std::numeric_limits<std::int64_t>::max() || end_ - front_ > kMostProbes) return;
    for (std::int64_t id = front_ + 1; id < end_; ++id) {
      Scan(" where id = " + std::to_string(id), [](std::int64_t) {});
    }
  }

 private:
  bool Scan(const std::string& order, const std::function<void(std::int64_t)>& reached) {
    return Attempt([&] {
      SqliteStatement blocks = damaged_.Prepare((select_ + order).c_str());
      while (blocks.Step()) {
        if (!IsWhole(kind_, blocks)) continue;
        insert_
            .With(blocks.Integer(0), blocks.Integer(1), blocks.Integer(2), blocks.Integer(3),
                  AsBlob(blocks.Bytes(4)))
            .Run();
        reached(blocks.Integer(0));
      }
    });
  }

  SqliteDatabase& damaged_;
  Kind kind_;
  std::string select_;
  SqliteStatement insert_;
  std::int64_t front_ = 0;
  std::int64_t end_ = std::numeric_limits<std::int64_t>::max();
};

void CopySpoolRow(SqliteDatabase& damaged, SqliteDatabase& target) {
  SqliteStatement row = damaged.Prepare(
      "select id, batch, accepted, stored, duplicates, set_aside, dropped, late_from, late_to from spool");
  if (!row.Step()) return;
  target
      .Prepare(
          "update spool set id = ?, batch = ?, accepted = ?, stored = ?, duplicates = ?, set_aside = ?,"
          " dropped = ?")
      .With(row.Bytes(0), row.Integer(1), row.Integer(2), row.Integer(3), row.Integer(4), row.Integer(5),
            row.Integer(6))
      .Run();
  if (row.IsNull(7) || row.IsNull(8)) return;
  target.Prepare("update spool set late_from = ?, late_to = ?").With(row.Integer(7), row.Integer(8)).Run();
}

void CopySending(SqliteDatabase& damaged, SqliteDatabase& target) {
  SqliteStatement row = damaged.Prepare("select batch, kind, first, last from sending");
  if (!row.Step()) return;
  target.Prepare("insert into sending (batch, kind, first, last) values (?, ?, ?, ?)")
      .With(row.Integer(0), row.Integer(1), row.Integer(2), row.Integer(3))
      .Run();
}

void CopySetAside(SqliteDatabase& damaged, SqliteDatabase& target) {
  SqliteStatement rows = damaged.Prepare(
      "select pending, kind, records, at, sqlstate, reason, record, data from set_aside order by id");
  SqliteStatement insert = target.Prepare(
      "insert into set_aside (pending, kind, records, at, sqlstate, reason, record, data)"
      " values (?, ?, ?, ?, ?, ?, ?, ?)");
  while (rows.Step()) {
    insert
        .With(rows.Integer(0), rows.Integer(1), rows.Integer(2), rows.Integer(3), rows.Bytes(4),
              rows.Bytes(5), rows.Bytes(6), AsBlob(rows.Bytes(7)))
        .Run();
  }
}

}  // namespace

std::int64_t CopyReadable(SqliteDatabase& damaged, SqliteDatabase& target) {
  SqliteTransaction transaction(target);
  Attempt([&] { CopySpoolRow(damaged, target); });
  Attempt([&] { CopySending(damaged, target); });
  Attempt([&] { CopySetAside(damaged, target); });
  for (int kind = 0; kind < kKinds; ++kind) BlockCopy(damaged, target, static_cast<Kind>(kind)).Run();
  transaction.Commit();
  std::int64_t records = 0;
  for (int kind = 0; kind < kKinds; ++kind) {
    records += target.Value(
        ("select coalesce(sum(records), 0) from " + std::string(BlockTable(static_cast<Kind>(kind))))
            .c_str());
  }
  return records;
}

}  // namespace historian::recorder
