#include "Pool.h"

#include <cstdlib>

#include "../Failure.h"
#include "Refused.h"
#include "historian/Error.h"

namespace historian::command {
namespace {

constexpr char kSession[] = "-c default_transaction_read_only=on -c statement_timeout=30s";

// Runs the request. Returns whether it failed because the connection was lost.
bool Lost(const std::function<void()>& request, std::exception_ptr& failure) {
  try {
    request();
    return false;
  } catch (const Error& error) {
    failure = std::current_exception();
    return SaysServerAway(error.SqlState());
  } catch (const SAException& error) {
    failure = std::current_exception();
    return SaysServerAway(error.SqlState());
  } catch (...) {
    failure = std::current_exception();
    return false;
  }
}

}  // namespace

ServerOptions ReadOnly(ServerOptions options) {
  const std::size_t own = options.database.find("options");
  if (own != std::string::npos && options.database.find_first_of('=', own) != std::string::npos)
    throw Refusal("--database sets options of the session, which serve sets itself; use PGOPTIONS");
  // Options follow a semicolon in the database text, and replace those of the environment.
  const char* environment = std::getenv("PGOPTIONS");
  options.database += options.database.find(';') == std::string::npos ? ";" : " ";
  if (environment != nullptr) options.database.append(environment).append(" ");
  options.database += kSession;
  return options;
}

bool SaysServerAway(const std::string& sql_state) {
  return sql_state.empty() || sql_state.starts_with("08") || sql_state.starts_with("57P") ||
         sql_state == "53300";
}

// One of the limited places for requests that use a connection at the same time.
class Pool::Place {
 public:
  explicit Place(Pool& pool) : pool_(pool) {
    std::unique_lock lock(pool_.mutex_);
    if (pool_.used_ == pool_.limits_.connections && pool_.waiting_ == pool_.limits_.waiting)
      throw RequestRefused(kTooMany, "too many requests at the same time; try again in a moment");
    ++pool_.waiting_;
    pool_.free_.wait(lock, [this] { return pool_.used_ < pool_.limits_.connections; });
    --pool_.waiting_;
    ++pool_.used_;
    if (pool_.idle_.empty()) return;
    connection = std::move(pool_.idle_.back());
    pool_.idle_.pop_back();
  }
  ~Place() {
    const std::lock_guard lock(pool_.mutex_);
    --pool_.used_;
    if (connection) pool_.idle_.push_back(std::move(connection));
    pool_.free_.notify_one();
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  Connection connection;  // null: the request makes one, which is kept for the next request

 private:
  Pool& pool_;
};

Pool::Pool(const ServerOptions& options, Limits limits) : options_(ReadOnly(options)), limits_(limits) {}

void Pool::Run(const std::function<void(Server&)>& request) {
  Place place(*this);
  std::exception_ptr failure;
  if (place.connection) {
    if (!Lost([&] { request(*place.connection); }, failure)) {
      if (!failure) return;
      place.connection.reset();
      std::rethrow_exception(failure);
    }
    // The idle connections were lost as well.
    place.connection.reset();
    const std::lock_guard lock(mutex_);
    idle_.clear();
  }
  auto connection = std::make_unique<Server>(options_);
  request(*connection);
  place.connection = std::move(connection);
}

}  // namespace historian::command
