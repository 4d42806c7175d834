#include "historian/recorder/Worker.h"

#include <algorithm>
#include <utility>

namespace historian::recorder {
namespace {

constexpr auto kTimeToFinish = std::chrono::seconds(5);  // for a running call when the recorder ends

}  // namespace

Worker::Worker(std::shared_ptr<Dbms> dbms, const RecorderOptions& options, Spool& spool, Reporter& reporter)
    : options_(options),
      spool_(spool),
      reporter_(reporter),
      delivery_(std::move(dbms), options, spool, reporter),
      backoff_(options.firstPause, options.longestPause),
      thread_([this] { Run(); }) {}

Worker::~Worker() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  delivery_.EndBy(Clock::now() + kTimeToFinish);
  wake_.notify_all();
  settled_.notify_all();
  thread_.join();
}

void Worker::Wake() {
  {
    const std::lock_guard lock(mutex_);
    work_ = true;
  }
  wake_.notify_all();
}

void Worker::ChangeRole() {
  {
    const std::lock_guard lock(mutex_);
    changeRole_ = true;
  }
  wake_.notify_all();
}

bool Worker::WaitUntilStored(Milliseconds most) {
  const Clock::time_point end = Clock::now() + most;
  std::unique_lock lock(mutex_);
  while (spool_.Count().second.records > 0) {
    if (stopping_ || settled_.wait_until(lock, end) == std::cv_status::timeout) return false;
  }
  return true;
}

void Worker::Run() {
  while (!Stopping()) {
    try {
      Turn();
    } catch (const Error& error) {
      Fail(error);
    } catch (const std::exception& error) {
      Fail(Error("recorder", error.what()));
    }
  }
}

void Worker::Turn() {
  storing_.reset();
  if (!ready_) Prepare();
  const bool again =
      spool_.InFlight() && !done_ && Allowed()[static_cast<std::size_t>(spool_.InFlight()->kind)];
  const bool settles = done_.has_value();
  const std::optional<Batch> batch =
      again ? spool_.InFlight() : spool_.Next(done_, Allowed(), static_cast<std::int64_t>(options_.batch));
  done_.reset();
  if (settles) {
    const std::lock_guard lock(mutex_);
    settled_.notify_all();
  }
  if (!batch) return Idle();

  storing_ = batch->kind;
  done_ = delivery_.Store(*batch);
  ready_ = done_.has_value();
  refused_[static_cast<std::size_t>(batch->kind)] = false;
  backoff_.Reset();
  ShowState();
}

void Worker::Prepare() {
  bool changeRole = false;
  {
    const std::lock_guard lock(mutex_);
    changeRole = std::exchange(changeRole_, false);
  }
  if (changeRole) delivery_.GoToAnotherServer();
  done_ = delivery_.Prepare();
  ready_ = true;
  ShowState();
}

void Worker::Idle() {
  ShowState();
  if (!Refresh() && !spool_.Shrink()) WaitForWork();
}

// A failed refresh does not stop storing.
bool Worker::Refresh() {
  if (Clock::now() < refreshFrom_) return false;
  try {
    return delivery_.RefreshAggregates();
  } catch (const Error& error) {
    refreshFrom_ = Clock::now() + options_.refusedPause;
    ready_ = false;
    reporter_.Say("aggregates are not refreshed: " + error.Text(), error.SqlState());
    return true;
  }
}

void Worker::Fail(const Error& error) {
  ready_ = false;
  done_.reset();
  delivery_.LearnFromFailure();
  const Verdict verdict = Classify(error.SqlState());
  if (verdict == Verdict::RefusedProgram) {
    reporter_.SetState(RecorderState::Refused, error.Text(), error.SqlState());
    if (!storing_) return Pause(options_.refusedPause);
    // Records of other kinds are still stored.
    const auto kind = static_cast<std::size_t>(*storing_);
    refused_[kind] = true;
    refusedUntil_[kind] = Clock::now() + options_.refusedPause;
    return;
  }
  reporter_.SetState(RecorderState::Waiting, error.Text(), error.SqlState());
  if (verdict == Verdict::WrongServer) delivery_.GoToAnotherServer();
  Pause(backoff_.Next(std::generate_canonical<double, 32>(random_)));
}

void Worker::ShowState() {
  const bool refused = std::find(refused_.begin(), refused_.end(), true) != refused_.end();
  reporter_.SetState(refused ? RecorderState::Refused : RecorderState::Storing);
}

std::array<bool, kKinds> Worker::Allowed() const {
  std::array<bool, kKinds> allowed{};
  const Clock::time_point now = Clock::now();
  for (std::size_t i = 0; i < allowed.size(); ++i) allowed[i] = !refused_[i] || now >= refusedUntil_[i];
  return allowed;
}

void Worker::Pause(Milliseconds pause) {
  std::unique_lock lock(mutex_);
  wake_.wait_for(lock, pause, [this] { return stopping_ || changeRole_; });
}

void Worker::WaitForWork() {
  std::unique_lock lock(mutex_);
  const auto called = [this] { return stopping_ || changeRole_ || work_; };
  Clock::time_point until = Clock::time_point::max();
  for (std::size_t i = 0; i < refused_.size(); ++i) {
    if (refused_[i]) until = std::min(until, refusedUntil_[i]);
  }
  if (until == Clock::time_point::max()) {
    wake_.wait(lock, called);
  } else {
    wake_.wait_until(lock, until, called);
  }
  work_ = false;
  if (changeRole_) ready_ = false;
}

bool Worker::Stopping() {
  const std::lock_guard lock(mutex_);
  if (changeRole_) ready_ = false;
  return stopping_;
}

}  // namespace historian::recorder
