#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// Controls the server of a test that private_server.sh runs.
inline void ControlServer(const std::string& state) {
  const char* const program = std::getenv("DBMSAPI_SERVER_CONTROL");
  ASSERT_NE(program, nullptr) << "needs private_server.sh";
  ASSERT_EQ(std::system((program + (" " + state)).c_str()), 0) << state;
}
