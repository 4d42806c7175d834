#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

// Sets an environment variable as long as it lives.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* former = std::getenv(name)) former_ = former;
    ::setenv(name, value, 1);
    ::tzset();
  }
  ~Environment() {
    former_ ? ::setenv(name_, former_->c_str(), 1) : ::unsetenv(name_);
    ::tzset();
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> former_;
};

// The process and the sessions it opens are in a time zone.
class Zone {
 public:
  Zone(const char* process, const char* session) : process_("TZ", process), session_("PGTZ", session) {}
  explicit Zone(const char* both) : Zone(both, both) {}

  // Whether no clock change comes near an instant: around one, local times are repeated or left out.
  static bool IsSettled(std::time_t seconds) {
    constexpr std::time_t kDay = 86400;
    const std::time_t before = seconds - kDay, after = seconds + kDay;
    return std::localtime(&before)->tm_gmtoff == std::localtime(&after)->tm_gmtoff;
  }

 private:
  Environment process_;
  Environment session_;
};
