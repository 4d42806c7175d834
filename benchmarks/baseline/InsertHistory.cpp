#include <cfloat>
#include <charconv>

#include "../BenchServer.h"
#include "../Paired.h"
#include "Baseline.h"

namespace baseline {
namespace {

constexpr std::size_t kPieceBytes = 4 * 1024 * 1024;

std::string Line(const LogSample& sample) {
  char value[32];
  const auto end =
      std::to_chars(value, value + sizeof value, sample.value, std::chars_format::general, 10).ptr;
  const std::string milliseconds = std::to_string(sample.timeMs % 1000);
  return std::to_string(sample.timeMs / 1000) + '.' + std::string(3 - milliseconds.size(), '0') +
         milliseconds + '\t' + std::string(sample.tagName.begin(), sample.tagName.end()) + '\t' +
         (sample.value == DBL_MAX ? "\\N" : std::string(value, end)) + '\n';
}

}  // namespace

std::vector<std::string> CopyPieces(const std::vector<LogSample>& samples) {
  std::vector<std::string> pieces(1);
  for (const LogSample& sample : samples) {
    if (pieces.back().size() >= kPieceBytes) pieces.emplace_back();
    pieces.back() += Line(sample);
  }
  return pieces;
}

void CopyHistory(PGconn* link, const std::vector<std::string>& pieces) {
  bench::Run(
      link,
      "CREATE TEMP TABLE IF NOT EXISTS _tmp_dl (  time_epoch float8 NOT NULL,  tag_name   text   NOT NULL,  "
      "value      float8)");
  bench::Run(link, "BEGIN");
  bench::Run(link, "TRUNCATE _tmp_dl");
  bench::Run(link, "COPY _tmp_dl(time_epoch, tag_name, value) FROM STDIN");
  for (const std::string& piece : pieces) {
    bench::Require(PQputCopyData(link, piece.data(), static_cast<int>(piece.size())) == 1,
                   PQerrorMessage(link));
  }
  PQputCopyEnd(link, nullptr);
  while (const bench::Answer answer{PQgetResult(link)}) {
    bench::Require(PQresultStatus(answer.get()) == PGRES_COMMAND_OK, PQresultErrorMessage(answer.get()));
  }
}

void InsertHistory(PGconn* link, const std::vector<std::string>& pieces) {
  CopyHistory(link, pieces);
  bench::Run(
      link,
      "INSERT INTO datalog(time, tag_name, value) SELECT to_timestamp(time_epoch), tag_name, value FROM _tmp_dl "
      "ORDER BY tag_name, time_epoch ON CONFLICT (time, tag_name) DO NOTHING");
  bench::Run(link, "COMMIT");
}

}  // namespace baseline
