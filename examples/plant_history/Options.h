#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace plant {

struct Options {
  std::string file;
  std::string zone = "UTC";
  std::string host = "127.0.0.1";
  int port = 5432;
  std::string database = "plant";
  std::string user = "postgres";
  std::string password;
  int retention_days = 30;
  bool help = false;
};

// A command line that cannot be followed; the text says why.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

Options ParseOptions(const std::vector<std::string>& arguments);
const char* Usage();

}  // namespace plant
