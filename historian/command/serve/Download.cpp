#include <sstream>

#include "../Failure.h"
#include "../SampleRows.h"
#include "../Text.h"
#include "Api.h"
#include "Refused.h"

namespace historian::command {
namespace {

constexpr std::size_t kPiece = 64 * 1024;  // bytes sent at once

// No time limit, because the time of the statement includes the client's download. A client that reads
// nothing for some seconds is disconnected anyhow.
constexpr wchar_t kNoLimit[] = L"select set_config('statement_timeout', '0', false)";
constexpr wchar_t kUsualLimit[] =
    L"select set_config('statement_timeout', reset_val, false) from pg_settings "
    L"where name = 'statement_timeout'";

struct Samples {
  std::vector<std::string> tags;
  Time from, to;  // both included
};

void RequireFew(Server& server, const Samples& samples, std::uint64_t most) {
  server.RequireTable("datalog");
  if (CountSamples(server, samples.tags, samples.from, samples.to, most + 1) <= most) return;
  throw RequestRefused(kTooLarge,
                       "more than " + FormatCount(most) + " samples; zoom in, or use historian export");
}

// Sends the samples while they are read. Throws when they cannot be read or the client has disconnected.
void SendSamples(Server& server, const Samples& samples, httplib::DataSink& sink) {
  const auto utc = FindZone("UTC");
  std::ostringstream text;
  const auto send = [&] {
    const std::string piece = std::exchange(text, std::ostringstream()).str();
    if (!sink.write(piece.data(), piece.size())) throw Failure("the client has gone");
  };
  server.Value(kNoLimit);  // after a failure the connection is closed, and with it the setting
  LongWriter writer(text, *utc);
  ReadSamples(server, samples.tags, samples.from, samples.to,
              [&](Microseconds time, const std::string& tag, const std::string& value) {
                writer.Add(time, tag, value);
                if (static_cast<std::size_t>(text.tellp()) >= kPiece) send();
              });
  send();
  server.Value(kUsualLimit);
}

void SetFile(httplib::Response& response, const char* name) {
  response.set_header("Content-Disposition", std::string("attachment; filename=\"") + name + '"');
}

std::string Cell(double value) { return std::isnan(value) ? "" : ExactValue(value); }

}  // namespace

void Api::SamplesCsv(const Request& request, Response& response) {
  const Parameters parameters(request);
  const TimeRange range = parameters.Range();
  const Samples samples = {parameters.Tags(), range.from, range.to - std::chrono::milliseconds(1)};
  // Refuses what it can before the answer begins.
  pool_.Run([&](Server& server) { RequireFew(server, samples, most_samples_); });
  SetFile(response, "samples.csv");
  response.set_chunked_content_provider(
      "text/csv; charset=utf-8", [this, samples](std::size_t, httplib::DataSink& sink) {
        bool begun = false;
        try {
          pool_.Run([&](Server& server) {
            if (std::exchange(begun, true)) throw Failure("the connection was lost");
            SendSamples(server, samples, sink);
          });
        } catch (const std::exception&) {
          return false;  // closes the connection: the client sees that the file is not complete
        }
        sink.done();
        return true;
      });
}

void Api::TrendCsv(const Request& request, Response& response) {
  const historian::Trend trend = ReadTrendOf(Parameters(request), kMostBuckets);
  std::string text = "time,tag,min,mean,max\n";
  for (const TagTrend& tag : trend.tags) {
    for (const TrendBucket& bucket : tag.buckets) {
      text += FormatUtc(bucket.time) + ',' + CsvCell(tag.tag) + ',' + Cell(bucket.min) + ',' +
              Cell(bucket.mean) + ',' + Cell(bucket.max) + '\n';
    }
  }
  SetFile(response, "trend.csv");
  response.set_content(text, "text/csv; charset=utf-8");
}

}  // namespace historian::command
