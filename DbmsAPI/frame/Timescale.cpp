#include "DbmsAPI/frame/Timescale.h"

#include <string>

#include "DbmsAPI/frame/Operation.h"
#include "port/Format.h"
#include "port/Number.h"

std::atomic<int> TimescaleVersion{0};

void DetectTimescaleVersion(SAConnection* connection) {
  SACommand command(connection);
  if (!FetchFirst(command, L"select extversion from pg_extension where extname = 'timescaledb'")) return;
  const std::wstring version = command.Field(1).asString().operator const SAChar*();
  // Without a point the same number serves as major and minor.
  const std::size_t point = version.find(L'.');
  const std::wstring rest = version.substr(point + 1);
  const int major = sys::LeadingInteger(version.substr(0, point));
  const int minor = sys::LeadingInteger(rest.substr(0, rest.find(L'.')));
  TimescaleVersion = major * 100 + minor;
}

void CreateHypertable(SACommand& command, const wchar_t* table) {
  const std::wstring head =
      TimescaleVersion >= kByRangeVersion
          ? sys::Format(L"SELECT create_hypertable('{}', by_range('{}', INTERVAL '{}')", table, L"time",
                        L"1 day")
          : sys::Format(L"SELECT create_hypertable('{}', '{}', chunk_time_interval => INTERVAL '{}'", table,
                        L"time", L"1 day");
  Execute(command, head + L")");
}

void SetCompression(SACommand& command, const wchar_t* table, const wchar_t* segmentBy) {
  Execute(command,
          TimescaleVersion >= kColumnstoreVersion
              ? sys::Format(L"ALTER TABLE {} SET (timescaledb.enable_columnstore,"
                            L"timescaledb.orderby = '{}',timescaledb.segmentby = '{}')",
                            table, L"time", segmentBy)
              : sys::Format(L"ALTER TABLE {} SET (timescaledb.compress, "
                            L"timescaledb.compress_orderby = '{}', timescaledb.compress_segmentby = '{}')",
                            table, L"time", segmentBy));
}

void AddCompressionPolicy(SACommand& command, const wchar_t* table) {
  const bool present =
      FetchFirst(command, sys::Format(L"SELECT * FROM timescaledb_information.jobs WHERE "
                                      L"proc_name = 'policy_compression' AND hypertable_name = '{}'",
                                      table));
  if (present) return;
  Execute(command, TimescaleVersion >= kColumnstoreVersion
                       ? sys::Format(L"CALL add_columnstore_policy('{}', INTERVAL '1 day')", table)
                       : sys::Format(L"SELECT add_compression_policy('{}', INTERVAL '1 day')", table));
}
