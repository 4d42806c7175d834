#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "platform/Process.h"
#include "platform/Zone.h"

// Sets an environment variable as long as it lives; TZ is the time zone of the process.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* former = std::getenv(name)) former_ = former;
    Set(value);
  }
  ~Environment() { Set(former_ ? former_->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  void Set(const char* value) const {
    if (name_ == "TZ") {
      platform::SetZone(value);
    } else {
      platform::SetVariable(name_.c_str(), value);
    }
  }

  std::string name_;
  std::optional<std::string> former_;
};

// The process and the sessions it opens are in a time zone.
class Zone {
 public:
  Zone(const char* process, const char* session) : process_("TZ", process), session_("PGTZ", session) {}
  explicit Zone(const char* both) : Zone(both, both) {}

 private:
  Environment process_;
  Environment session_;
};
