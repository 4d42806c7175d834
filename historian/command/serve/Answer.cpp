#include <nlohmann/json.hpp>

#include "../Failure.h"
#include "../Text.h"
#include "Api.h"
#include "Refused.h"
#include "historian/Error.h"

namespace historian::command {
namespace {

constexpr char kQueryCanceled[] = "57014";

void Fail(httplib::Response& response, int status, const std::string& text) {
  response.status = status;
  if (status == kTooMany || status == kUnavailable) response.set_header("Retry-After", "2");
  const nlohmann::json body = {{"error", OneLine(text, 600)}, {"away", status == kUnavailable}};
  response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                       "application/json");
}

void FailInDatabase(httplib::Response& response, const std::string& sql_state, const std::string& text) {
  if (sql_state == kQueryCanceled) {
    Fail(response, kTimedOut, "the database was not done within 30 s; ask for a shorter range or fewer tags");
  } else {
    Fail(response, SaysServerAway(sql_state) ? kUnavailable : kServerError, text);
  }
}

}  // namespace

httplib::Server::Handler Answering(httplib::Server::Handler handler) {
  return [handler = std::move(handler)](const httplib::Request& request, httplib::Response& response) {
    try {
      handler(request, response);
    } catch (const RequestRefused& refused) {
      Fail(response, refused.status, refused.what());
    } catch (const Error& error) {
      FailInDatabase(response, error.SqlState(), error.what());
    } catch (const SAException& error) {
      FailInDatabase(response, error.SqlState(), error.what());
    } catch (const Failure& failure) {  // no connection could be made
      Fail(response, kUnavailable, failure.what());
    } catch (const Refusal& refusal) {  // a table is not there
      Fail(response, kNotFound, refusal.what());
    } catch (const std::exception& error) {
      Fail(response, kServerError, error.what());
    }
  };
}

}  // namespace historian::command
