#include "historian/recorder/Reporter.h"

#include <utility>

namespace historian::recorder {

void Reporter::SetState(RecorderState state, const std::string& text, const std::string& sqlState) {
  std::unique_lock lock(mutex_);
  if (!text.empty()) {
    lastText_ = text;
    lastSqlState_ = sqlState;
  }
  const RecorderState before = Visible();
  state_ = state;
  Show(lock, before, text, sqlState);
}

void Reporter::SetFull(bool full, const std::string& text) {
  std::unique_lock lock(mutex_);
  if (full) {
    lastText_ = text;
    lastSqlState_.clear();
  }
  const RecorderState before = Visible();
  full_ = full;
  if (full || Visible() != before) Show(lock, before, text, {});
}

void Reporter::Say(const std::string& text, const std::string& sqlState) {
  std::unique_lock lock(mutex_);
  lastText_ = text;
  lastSqlState_ = sqlState;
  Deliver(lock, {Visible(), text, sqlState});
}

RecorderState Reporter::State() const {
  const std::lock_guard lock(mutex_);
  return Visible();
}

std::pair<std::string, std::string> Reporter::LastError() const {
  const std::lock_guard lock(mutex_);
  return {lastText_, lastSqlState_};
}

void Reporter::Show(std::unique_lock<std::mutex>& lock, RecorderState before, const std::string& text,
                    const std::string& sqlState) {
  if (Visible() == before && std::exchange(reported_, true)) return;
  reported_ = true;
  Deliver(lock, {Visible(), text, sqlState});
}

void Reporter::Deliver(std::unique_lock<std::mutex>& lock, RecorderEvent event) {
  if (!onEvent_) return;
  events_.push_back(std::move(event));
  if (delivering_) return;
  delivering_ = true;
  while (!events_.empty()) {
    const RecorderEvent next = std::move(events_.front());
    events_.pop_front();
    lock.unlock();
    onEvent_(next);
    lock.lock();
  }
  delivering_ = false;
}

}  // namespace historian::recorder
