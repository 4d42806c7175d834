#include "Api.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "../AlarmRows.h"
#include "../Verdicts.h"
#include "Refused.h"

namespace historian::command {
namespace {

using nlohmann::json;

constexpr int kUsualBuckets = 1000;
constexpr int kMostListed = 1000;

std::int64_t Milliseconds(Time time) { return time.time_since_epoch().count(); }
json Number(double value) { return std::isfinite(value) ? json(value) : json(); }

void Send(httplib::Response& response, const json& body) {
  response.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

const char* NameOf(Resolution resolution) {
  switch (resolution) {
    case Resolution::Minutes: return "minutes";
    case Resolution::Hours: return "hours";
    case Resolution::Samples: break;
  }
  return "samples";
}

json ToJson(const TagTrend& trend) {
  json time = json::array(), min = json::array(), mean = json::array(), max = json::array();
  for (const TrendBucket& bucket : trend.buckets) {
    time.push_back(Milliseconds(bucket.time));
    min.push_back(Number(bucket.min));
    mean.push_back(Number(bucket.mean));
    max.push_back(Number(bucket.max));
  }
  return {{"tag", trend.tag}, {"raw", trend.raw}, {"time", time}, {"min", min}, {"mean", mean}, {"max", max}};
}

}  // namespace

void Api::State(const Request&, Response& response) {
  std::string database;
  pool_.Run([&](Server& server) { database = server.Name(); });
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  Send(response, {{"database", database},
                  {"version", HISTORIAN_VERSION},
                  {"now", Milliseconds(now)},
                  {"mostTags", kMostTags}});
}

void Api::Tags(const Request& request, Response& response) {
  const Parameters parameters(request);
  const auto limit = static_cast<std::size_t>(parameters.Number("limit", 1, kMostListed, 50));
  const std::vector<TagInfo> found = FindTags(*tags_.Get(), parameters.Text("match"));
  json tags = json::array();
  for (const TagInfo& tag : found) {
    if (tags.size() == limit) break;
    tags.push_back({{"tag", tag.name}, {"first", Milliseconds(tag.first)}, {"last", Milliseconds(tag.last)}});
  }
  Send(response, {{"tags", tags}, {"matching", found.size()}});
}

historian::Trend Api::ReadTrendOf(const Parameters& parameters, int usual_buckets) {
  const auto tags = parameters.Tags();
  const TimeRange range = parameters.Range();
  const int buckets = parameters.Number("buckets", 1, kMostBuckets, usual_buckets);
  historian::Trend trend;
  pool_.Run([&](Server& server) {
    server.RequireTable("datalog");
    trend = ReadTrend(server.dbms(), tags, range.from, range.to, buckets);
  });
  return trend;
}

void Api::Trend(const Request& request, Response& response) {
  const Parameters parameters(request);
  const TimeRange range = parameters.Range();
  const historian::Trend trend = ReadTrendOf(parameters, kUsualBuckets);
  json list = json::array();
  for (const TagTrend& tag : trend.tags) list.push_back(ToJson(tag));
  Send(response, {{"from", Milliseconds(range.from)},
                  {"to", Milliseconds(range.to)},
                  {"width", trend.width.count()},
                  {"source", NameOf(trend.resolution)},
                  {"tags", list}});
}

void Api::Extent(const Request& request, Response& response) {
  const auto tags = Parameters(request).Tags();
  Time first = Time::max(), last = Time::min();
  for (const TagInfo& tag : *tags_.Get()) {
    if (std::find(tags.begin(), tags.end(), tag.name) != tags.end()) first = std::min(first, tag.first);
  }
  pool_.Run([&](Server& server) {
    for (const TagSample& sample : ReadLastSamples(server.dbms(), tags)) last = std::max(last, sample.time);
  });
  Send(response,
       first > last ? json::object() : json{{"first", Milliseconds(first)}, {"last", Milliseconds(last)}});
}

void Api::Alarms(const Request& request, Response& response) {
  const Parameters parameters(request);
  AlarmFilter filter;
  filter.tags = parameters.Tags(0);
  const TimeRange range = parameters.Range();
  filter.from = range.from;
  filter.to = range.to - std::chrono::milliseconds(1);
  const int limit = parameters.Number("limit", 1, kMostListed, 200);
  filter.limit = static_cast<std::size_t>(limit) + 1;
  json alarms;
  pool_.Run([&](Server& server) {
    alarms = json::array();
    server.RequireTable("alarm");
    ReadAlarms(server, filter, [&](const AlarmRow& alarm) {
      json row = command::ToJson(alarm);
      row["time"] = Milliseconds(alarm.time);
      row["occurred"] = Milliseconds(alarm.occurred);
      row["cleared"] = alarm.cleared ? json(Milliseconds(*alarm.cleared)) : json();
      alarms.push_back(row);
    });
  });
  const bool more = alarms.size() > static_cast<std::size_t>(limit);
  if (more) alarms.erase(alarms.size() - 1);
  Send(response, {{"alarms", alarms}, {"more", more}});
}

void Api::Health(const Request&, Response& response) {
  HealthReport report;
  pool_.Run([&](Server& server) {
    server.Name();  // throws when the server is away
    report = CheckHealth(server.dbms());
  });
  Send(response, ToJson(report));
}

void Api::Register(httplib::Server& server) {
  const auto get = [&](const char* path, void (Api::*answer)(const Request&, Response&)) {
    server.Get(path, Answering([this, answer](const Request& request, Response& response) {
                 (this->*answer)(request, response);
               }));
  };
  get("/api/state", &Api::State);
  get("/api/tags", &Api::Tags);
  get("/api/trend", &Api::Trend);
  get("/api/trend\\.csv", &Api::TrendCsv);
  get("/api/extent", &Api::Extent);
  get("/api/alarms", &Api::Alarms);
  get("/api/health", &Api::Health);
  get("/api/samples\\.csv", &Api::SamplesCsv);
}

}  // namespace historian::command
