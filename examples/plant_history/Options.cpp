#include "Options.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <map>
#include <string_view>

#include "Text.h"

namespace plant {
namespace {

constexpr char kUsage[] =
    R"(usage: plant_history [OPTION VALUE]... FILE

Loads a CSV file of plant measurements into tag history, reads it back, compares
every sample with the file and shows what each tag did. Then raises an alarm
wherever a tag is above its limit, the 99th percentile of its samples, and
reports every tag hour by hour; both are read back and compared as well. The
first column is the time in ISO 8601, every other column a tag; an empty cell is
a sample without a value.

  --zone ZONE       the time zone of times that name none, as in Europe/Berlin
                    or +01:00 (UTC); a time that it has twice when summer time ends is the
                    earlier, unless the rows before have reached that already
  --retention DAYS  how long the server keeps samples, 0 for good (30)
  --host HOST       the server (127.0.0.1)
  --port PORT       its port (5432)
  --database NAME   the database (plant)
  --user USER       who logs in (postgres)
  --password TEXT   with what password ($PGPASSWORD)

Exit status: 0 everything is stored as it should be, 1 it is not or the server
failed, 2 the command line or the file is wrong, 130 interrupted.
)";

int ParseNumber(const std::string& option, const std::string& text, int least, int most) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) {
    throw UsageError(option + " takes a number from " + std::to_string(least) + " to " +
                     std::to_string(most) + ", not \"" + OneLine(text) + '"');
  }
  return value;
}

}  // namespace

const char* Usage() { return kUsage; }

Options ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  if (const char* password = std::getenv("PGPASSWORD")) options.password = password;
  const std::map<std::string_view, std::string*> texts = {
      {"--zone", &options.zone}, {"--host", &options.host},         {"--database", &options.database},
      {"--user", &options.user}, {"--password", &options.password},
  };
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--help") {
      options.help = true;
    } else if (!argument.starts_with("--")) {
      if (!options.file.empty()) throw UsageError("takes one file, not also \"" + OneLine(argument) + '"');
      options.file = argument;
    } else if (i + 1 == arguments.size()) {
      throw UsageError(OneLine(argument) + " needs a value");
    } else if (argument == "--port") {
      options.port = ParseNumber(argument, arguments[++i], 1, 65535);
    } else if (argument == "--retention") {
      options.retention_days = ParseNumber(argument, arguments[++i], 0, 36500);
    } else if (const auto text = texts.find(argument); text != texts.end()) {
      *text->second = arguments[++i];
    } else {
      throw UsageError("there is no option " + OneLine(argument));
    }
  }
  if (options.file.empty() && !options.help) throw UsageError("needs a file; --help tells more");
  return options;
}

}  // namespace plant
