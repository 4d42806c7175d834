#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "historian/Recorder.h"

namespace historian::recorder {

// The state of a recorder, and its events. Events are delivered one at a time and in order, on any thread
// that calls, without holding a lock.
class Reporter {
 public:
  explicit Reporter(std::function<void(const RecorderEvent&)> onEvent) : onEvent_(std::move(onEvent)) {}

  // Sets the state of the server's side; reports it if it changed.
  void SetState(RecorderState state, const std::string& text = {}, const std::string& sqlState = {});
  // Sets whether the spool is full.
  void SetFull(bool full, const std::string& text = {});
  // Reports something that does not change the state.
  void Say(const std::string& text, const std::string& sqlState = {});

  RecorderState State() const;
  std::pair<std::string, std::string> LastError() const;  // its text and SQLSTATE

 private:
  void Show(std::unique_lock<std::mutex>& lock, RecorderState before, const std::string& text,
            const std::string& sqlState);
  void Deliver(std::unique_lock<std::mutex>& lock, RecorderEvent event);
  RecorderState Visible() const { return full_ ? RecorderState::Full : state_; }

  std::function<void(const RecorderEvent&)> onEvent_;
  mutable std::mutex mutex_;
  RecorderState state_ = RecorderState::Waiting;
  bool full_ = false;
  bool reported_ = false;  // whether any state was reported: the first one counts as a change
  std::string lastText_, lastSqlState_;
  std::deque<RecorderEvent> events_;
  bool delivering_ = false;
};

}  // namespace historian::recorder
