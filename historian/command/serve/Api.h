#pragma once

#include <httplib.h>

#include <cstdint>

#include "Parameters.h"
#include "Pool.h"
#include "TagList.h"

namespace historian::command {

// Answers the requests of the page for data:
//
//   /api/state                                          database, version, the time here
//   /api/tags?match=TEXT&limit=N                        tags by a part of their name
//   /api/trend?tag=...&from=MS&to=MS&buckets=N          minimum, mean and maximum of each bucket
//   /api/extent?tag=...                                 first and last time of these tags
//   /api/alarms?from=MS&to=MS&limit=N[&tag=...]         alarm state changes, newest first
//   /api/health                                         what historian doctor finds
//   /api/trend.csv, /api/samples.csv                    the same range to keep: buckets, samples
//
// The answer to a request that fails is {"error": TEXT, "away": BOOL}; `away` is true when the database
// server cannot be reached.
class Api {
 public:
  // `most_samples` is the limit of a download.
  Api(const ServerOptions& options, Pool::Limits limits, std::uint64_t most_samples)
      : most_samples_(most_samples), pool_(options, limits), tags_(pool_) {}

  void Register(httplib::Server& server);

 private:
  using Request = httplib::Request;
  using Response = httplib::Response;

  void State(const Request& request, Response& response);
  void Tags(const Request& request, Response& response);
  void Trend(const Request& request, Response& response);
  void TrendCsv(const Request& request, Response& response);
  void Extent(const Request& request, Response& response);
  void Alarms(const Request& request, Response& response);
  void Health(const Request& request, Response& response);
  void SamplesCsv(const Request& request, Response& response);

  // Reads the trend for the parameters `tag`, `from`, `to` and `buckets`.
  historian::Trend ReadTrendOf(const Parameters& parameters, int usual_buckets);

  const std::uint64_t most_samples_;
  Pool pool_;
  TagList tags_;
};

// Runs a handler and turns its exceptions into answers.
httplib::Server::Handler Answering(httplib::Server::Handler handler);

}  // namespace historian::command
