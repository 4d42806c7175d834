#pragma once

#include <stdexcept>
#include <string>

namespace historian::command {

// Exit statuses of every subcommand but doctor.
enum ExitStatus { kDone = 0, kFailed = 1, kRefused = 2, kSignalled = 128 };

// Ends the program with one line on standard error: the server failed, or the data is wrong.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The same for a command line or a file that is refused; nothing was changed.
struct Refusal : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// SIGINT or SIGTERM was received. The text says what was done until then.
struct Interrupted : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Throws Interrupted when a signal was received. Called between steps, when nothing is half done.
void ThrowIfInterrupted();

}  // namespace historian::command
