#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "Server.h"
#include "Zone.h"

namespace historian::command {

using Microseconds = std::chrono::sys_time<std::chrono::microseconds>;

// Binds tags to a parameter of the type text[]: NULL when none is named.
void BindTags(SACommand& command, const std::vector<std::string>& tags);

// The number of samples of the tags (all if none is named) between two instants, both included. Stops
// counting at `most`.
std::uint64_t CountSamples(Server& server, const std::vector<std::string>& tags, Time from, Time to,
                           std::uint64_t most);

// Reads these samples in order of time. A value is the server's text, "null" if there is none.
using OnSample = std::function<void(Microseconds time, const std::string& tag, const std::string& value)>;
void ReadSamples(Server& server, const std::vector<std::string>& tags, Time from, Time to,
                 const OnSample& sample);

// Writes one sample after the other, in order of time.
class SampleWriter {
 public:
  SampleWriter(std::ostream& out, const Zone& zone) : out_(out), zone_(zone) {}
  virtual ~SampleWriter() = default;
  virtual void Add(Microseconds time, const std::string& tag, const std::string& value) = 0;
  virtual void End() {}

 protected:
  std::string TimeText(Microseconds time) const { return FormatExact(time, zone_); }
  std::ostream& out_;

 private:
  const Zone& zone_;
};

// CSV: time, tag, value.
class LongWriter : public SampleWriter {
 public:
  LongWriter(std::ostream& out, const Zone& zone);
  void Add(Microseconds time, const std::string& tag, const std::string& value) override;
};

// JSON lines.
class JsonWriter : public SampleWriter {
 public:
  using SampleWriter::SampleWriter;
  void Add(Microseconds time, const std::string& tag, const std::string& value) override;
};

// CSV: one row per time, one column per tag.
class WideWriter : public SampleWriter {
 public:
  WideWriter(std::ostream& out, const Zone& zone, const std::vector<std::string>& tags);
  void Add(Microseconds time, const std::string& tag, const std::string& value) override;
  void End() override;

 private:
  std::unordered_map<std::string, std::size_t> columns_;
  std::vector<std::string> cells_;
  Microseconds time_{};
  bool filled_ = false;
};

// A text as a cell of CSV, in quotes if it needs them.
std::string CsvCell(const std::string& text);

}  // namespace historian::command
