#include "chaos/Families.h"

namespace {

// The table of the first release, with times in UTC.
constexpr char kFirstAuditTable[] =
    "drop table if exists audit_table; "
    "create table audit_table (time timestamptz not null, operator_node text not null, "
    "operator text not null, type int not null, name text not null, group_name text not null, tag_name text, "
    "value text not null, comment text not null, primary key (time, operator_node, name)); "
    "insert into audit_table values (now(), 'node', 'op', 1, 'started', 'g', null, '1', 'c')";

// How many of the seven changes have been made.
constexpr char kAuditChanges[] =
    "select count(*) filter (where column_name in ('ip_addr', 'user_id', 'message')) "
    "+ count(*) filter (where column_name in ('group_name', 'value', 'comment') and is_nullable = 'YES') "
    "+ 1 - count(*) filter (where column_name = 'type') "
    "from information_schema.columns where table_name = 'audit_table' and (select count(*) from audit_table) = 1";

// 0 without a table, 1 with the old columns, 2 with the new.
constexpr char kUserLogVersion[] =
    "select coalesce(min(case attname when 'old' then 1 else 2 end), 0) "
    "from pg_attribute where attrelid = to_regclass('user_kiln') and attname in ('old', 'note')";

constexpr char kOldUserLog[] =
    "drop table if exists user_kiln; "
    "create table user_kiln (time timestamptz primary key, old int2)";

constexpr char kOldValues[] =
    "create table if not exists archive (time timestamptz, tag_name text, tag_value text); "
    "create table if not exists pr_timelist (page_name text, start_time timestamptz, end_time timestamptz, "
    "users text); truncate archive, pr_timelist; insert into archive values ('2000-01-01', 'A', '1'); "
    "insert into pr_timelist values ('archive', '2000-01-01')";
constexpr char kRemovedValues[] =
    "select 2 - (select count(*) from archive) - (select count(*) from pr_timelist)";

// Imitates the extension's catalog and functions.
constexpr char kChunks[] =
    "create schema if not exists timescaledb_information; "
    "create schema if not exists _timescaledb_catalog; "
    "create table if not exists timescaledb_information.chunks (hypertable_name name, chunk_schema name, "
    "chunk_name name, range_end timestamptz, is_compressed bool); "
    "create table if not exists _timescaledb_catalog.hypertable (table_name name, compression_state int2); "
    "create table if not exists compressed (chunk text primary key); "
    "create or replace function compress_chunk(text) returns text language sql as "
    "'insert into compressed values ($1) returning chunk'; "
    "truncate compressed, timescaledb_information.chunks, _timescaledb_catalog.hypertable; "
    "insert into _timescaledb_catalog.hypertable values ('datalog', 1); "
    "insert into timescaledb_information.chunks values ('datalog', 's', 'c', '2000-01-01', false)";

bool CreateNothing(Dbms&) { return true; }

}  // namespace

// Before each change it checks whether the change is due; only the first one is not.
Family AuditTrail() {
  return {"AuditTrail",
          CreateNothing,
          {{"CreateAuditTable",
            nullptr,
            kFirstAuditTable,
            [](Dbms& d) { return d.CreateAuditTable(); },
            kAuditChanges,
            {0, 0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7},
            Again::ChangesNothing,
            true}}};
}

Family Schema() {
  const auto createUserLog = [](Dbms& d) { return d.CreateUserLogTable(L"kiln", {{L"note", 2, 40}}, 0); };
  return {"Schema",
          CreateNothing,
          // Whether it exists, CREATE.
          {{"CreateSignatureTable",
            nullptr,
            "drop table if exists signinfo_table",
            [](Dbms& d) { return d.CreateSignatureTable(); },
            "select count(*) from pg_tables where tablename = 'signinfo_table'",
            {0, 0, 1}},
           // Whether it exists, its columns, DROP, CREATE.
           {"CreateUserLogTable",
            nullptr,
            kOldUserLog,
            createUserLog,
            kUserLogVersion,
            {1, 1, 1, 1, 0, 2},
            Again::ChangesNothing,
            true},
           {"PurgeTagValueTable",
            "archive",
            kOldValues,
            [](Dbms& d) { return d.PurgeTagValueTable(L"archive", 30); },
            kRemovedValues,
            {0, 0, 1, 2},
            Again::ChangesNothing,
            true}}};
}

Family Compression() {
  const auto list = [](Dbms& d) {
    std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
    return d.GetUncompressedChunkMap(chunks);
  };
  return {"Compression",
          CreateNothing,
          {{"GetUncompressedChunkMap",
            "timescaledb_information.chunks",
            kChunks,
            list,
            "select count(*) from compressed",
            {0, 0}},
           {"CompressChunk",
            "compressed",
            kChunks,
            [](Dbms& d) { return d.CompressChunk(L"s.c"); },
            "select count(*) from compressed",
            {0, 1},
            Again::IsRefused}}};
}
