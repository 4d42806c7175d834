#include <bit>

#include "../BenchServer.h"
#include "../Paired.h"
#include "Baseline.h"

namespace baseline {
namespace {

constexpr Oid kInt8 = 20, kInt2 = 21, kInt4 = 23, kFloat8 = 701, kUntyped = 0;

template <class Unsigned>
std::string InNetworkOrder(Unsigned bits) {
  std::string bytes;
  for (std::size_t i = sizeof bits; i-- > 0;) bytes += static_cast<char>(bits >> 8 * i & 0xFF);
  return bytes;
}

void AddScalar(Parameters& parameters, Oid type, std::string bytes) {
  parameters.types.push_back(type);
  parameters.lengths.push_back(static_cast<int>(bytes.size()));
  parameters.formats.push_back(1);
  parameters.bytes.push_back(std::move(bytes));
  parameters.values.push_back("");
}

void Check(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  bench::Require(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK, PQresultErrorMessage(result));
}

}  // namespace

void Parameters::Add(double value) {
  AddScalar(*this, kFloat8, InNetworkOrder(std::bit_cast<std::uint64_t>(value)));
}
void Parameters::Add(std::int64_t value) {
  AddScalar(*this, kInt8, InNetworkOrder(static_cast<std::uint64_t>(value)));
}
void Parameters::Add(std::int32_t value) {
  AddScalar(*this, kInt4, InNetworkOrder(static_cast<std::uint32_t>(value)));
}
void Parameters::Add(std::int16_t value) {
  // Shifts are done on ints.
  const auto bits = static_cast<std::uint32_t>(static_cast<std::uint16_t>(value));
  AddScalar(*this, kInt2, InNetworkOrder(bits).substr(2));
}

void Parameters::Add(const std::wstring& value) {
  AddScalar(*this, kUntyped, std::string(value.begin(), value.end()));
  formats.back() = 0;
}

void Parameters::AddNull() {
  AddScalar(*this, kUntyped, "");
  formats.back() = 0;
  values.back() = nullptr;
}

void Parameters::Finish() {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (values[i]) values[i] = bytes[i].c_str();
  }
}

void RunWith(PGconn* link, const std::string& statement, const Parameters& parameters) {
  const bench::Answer answer(PQexecParams(link, statement.c_str(), static_cast<int>(parameters.values.size()),
                                          parameters.types.data(), parameters.values.data(),
                                          parameters.lengths.data(), parameters.formats.data(), 0));
  Check(answer.get());
}

void Prepare(PGconn* link, const char* name, const std::string& statement, const Parameters& like) {
  const bench::Answer answer(
      PQprepare(link, name, statement.c_str(), static_cast<int>(like.types.size()), like.types.data()));
  Check(answer.get());
}

void RunPrepared(PGconn* link, const char* name, const Parameters& parameters) {
  const bench::Answer answer(PQexecPrepared(link, name, static_cast<int>(parameters.values.size()),
                                            parameters.values.data(), parameters.lengths.data(),
                                            parameters.formats.data(), 0));
  Check(answer.get());
}

std::vector<Parameters> SystemLogParameters(const std::vector<SystemLogRecord>& records) {
  std::vector<Parameters> all;
  for (const SystemLogRecord& record : records) {
    Parameters& one = all.emplace_back();
    one.Add(static_cast<double>(record.time) / 1000.0);
    one.Add(record.node);
    one.Add(record.module);
    one.Add(record.level);
    one.Add(record.type);
    record.user_id.empty() ? one.AddNull() : one.Add(record.user_id);
    one.Add(record.message);
  }
  for (Parameters& one : all) one.Finish();
  return all;
}

Parameters ReportParameters(const std::vector<ReportAnalogData>& rows) {
  Parameters all;
  for (const ReportAnalogData& row : rows) {
    all.Add(row.time);
    all.Add(row.tag_name);
    all.Add(row.count);
    for (const double value : {row.sum, row.avg, row.diff, row.first, row.last, row.min}) all.Add(value);
    all.Add(row.min_time);
    all.Add(row.max);
    all.Add(row.max_time);
    for (const double value : {row.diff_sum, row.diff_avg, row.diff_min}) all.Add(value);
    all.Add(row.diff_min_time);
    all.Add(row.diff_max);
    all.Add(row.diff_max_time);
  }
  all.Finish();
  return all;
}

std::string ReportStatement(const std::string& table, std::size_t rows) {
  std::string text = "insert into " + table + " values";
  std::size_t number = 0;
  const auto value = [&] { text.append("$").append(std::to_string(++number)).append(","); };
  const auto time = [&] { text.append("to_timestamp($").append(std::to_string(++number)).append("),"); };
  for (std::size_t row = 0; row < rows; ++row) {
    text += '(';
    time();
    for (int i = 0; i < 8; ++i) value();
    time();
    value();
    time();
    for (int i = 0; i < 3; ++i) value();
    time();
    value();
    time();
    text.back() = ')';
    text += ',';
  }
  text.pop_back();
  return text + " ON CONFLICT (time, tag_name) DO NOTHING";
}

}  // namespace baseline
