#pragma once

#include <string>
#include <vector>

// The statements that turn a table into a compressed hypertable, for each version of the extension.
namespace hypertable {

// Versions before and after each change of syntax; 0 is a server without the extension.
inline constexpr int kVersions[] = {212, 213, 217, 218};

std::wstring State(const std::wstring& table);
std::wstring Create(int version, const std::wstring& table);
std::wstring LegacyRetention(const std::wstring& table);
std::wstring Compression(int version, const std::wstring& table, const std::wstring& segmentBy);
std::wstring CompressionJob(const std::wstring& table);
std::wstring CompressionPolicy(int version, const std::wstring& table);

}  // namespace hypertable
