#pragma once

#include <SQLAPI.h>

#include <atomic>
#include <optional>
#include <string>

// Version of the TimescaleDB extension, major x 100 + minor (2.13.1 is 213); 0 while unknown. One number for
// the whole process. Only CreateSystemLogTable detects it; until then the steps below are skipped.
extern std::atomic<int> TimescaleVersion;

// The first version that makes hypertables with by_range.
constexpr int kByRangeVersion = 213;
// The first version that calls compression columnstore.
constexpr int kColumnstoreVersion = 218;

// Reads the extension's version; leaves TimescaleVersion alone when the extension is not installed.
void DetectTimescaleVersion(SAConnection* connection);

// The compression state of a hypertable: 1 when compression is set up. No value for any other table.
std::optional<short> CompressionState(SACommand& command, const wchar_t* table);

// Makes a table a hypertable on its column `time`, in chunks of one day. If `days` is above 0, adds a policy
// that drops older rows.
void CreateHypertable(SACommand& command, const wchar_t* table, int retentionDays = 0);

// Turns compression on, ordered by time and segmented by a comma-separated list of columns.
void SetCompression(SACommand& command, const wchar_t* table, const wchar_t* segmentBy);

// Adds a policy that compresses chunks when they are a day old, unless the table has one.
void AddCompressionPolicy(SACommand& command, const wchar_t* table);

// The statement that adds a policy to drop rows older than `days`.
std::wstring AddRetentionStatement(const wchar_t* table, int days);
