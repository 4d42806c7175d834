#include "HypertableTexts.h"

namespace hypertable {

std::wstring State(const std::wstring& table) {
  return L"select compression_state from _timescaledb_catalog.hypertable where table_name = '" + table + L"'";
}

std::wstring Create(int version, const std::wstring& table) {
  if (version >= 213)
    return L"SELECT create_hypertable('" + table + L"', by_range('time', INTERVAL '1 day'))";
  return L"SELECT create_hypertable('" + table + L"', 'time', chunk_time_interval => INTERVAL '1 day')";
}

std::wstring LegacyRetention(const std::wstring& table) {
  return L"with hypertable as (\tselect id\tfrom _timescaledb_catalog.hypertable\twhere table_name = lower('" +
         table +
         L"')), retention as (\tselect config->'hypertable_id' a, config->'drop_after' b\tfrom _timescaledb_config.bgw_job\twhere application_name like 'Retention Policy%') select b from hypertable, retention where a::integer = id";
}

std::wstring Compression(int version, const std::wstring& table, const std::wstring& segmentBy) {
  if (version >= 218) {
    return L"ALTER TABLE " + table +
           L" SET (timescaledb.enable_columnstore,timescaledb.orderby = 'time',timescaledb.segmentby = '" +
           segmentBy + L"')";
  }
  return L"ALTER TABLE " + table +
         L" SET (timescaledb.compress, timescaledb.compress_orderby = 'time', timescaledb.compress_segmentby = '" +
         segmentBy + L"')";
}

std::wstring CompressionJob(const std::wstring& table) {
  return L"SELECT * FROM timescaledb_information.jobs WHERE proc_name = 'policy_compression' AND hypertable_name = '" +
         table + L"'";
}

std::wstring CompressionPolicy(int version, const std::wstring& table) {
  if (version >= 218) return L"CALL add_columnstore_policy('" + table + L"', INTERVAL '1 day')";
  return L"SELECT add_compression_policy('" + table + L"', INTERVAL '1 day')";
}

}  // namespace hypertable
