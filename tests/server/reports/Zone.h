#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

// While it lives, the process is in one time zone and the sessions it opens are in another or the same.
class Zone {
 public:
  explicit Zone(const char* both) : Zone(both, both) {}
  Zone(const char* process, const char* session) : process_("TZ", process), session_("PGTZ", session) {}

  // Whether no clock change comes near an instant: around one, local times are repeated or left out.
  static bool IsSettled(std::time_t seconds) {
    constexpr std::time_t kDay = 86400;
    const std::time_t before = seconds - kDay, after = seconds + kDay;
    return std::localtime(&before)->tm_gmtoff == std::localtime(&after)->tm_gmtoff;
  }

 private:
  class Variable {
   public:
    Variable(const char* name, const char* value) : name_(name) {
      if (const char* former = std::getenv(name)) former_ = former;
      setenv(name, value, 1);
      tzset();
    }
    ~Variable() {
      former_ ? setenv(name_, former_->c_str(), 1) : unsetenv(name_);
      tzset();
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

   private:
    const char* name_;
    std::optional<std::string> former_;
  };

  Variable process_, session_;
};
