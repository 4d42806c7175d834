#pragma once

#include <stdexcept>
#include <string>

namespace historian::command {

// Thrown to refuse a request: the status and the text of the answer.
struct RequestRefused : std::runtime_error {
  RequestRefused(int its_status, const std::string& text) : std::runtime_error(text), status(its_status) {}
  int status;
};

// HTTP statuses.
constexpr int kBadRequest = 400, kUnauthorized = 401, kForbidden = 403, kNotFound = 404,
              kMethodNotAllowed = 405, kTooLarge = 413, kMisdirected = 421, kTooMany = 429,
              kServerError = 500, kUnavailable = 503, kTimedOut = 504;

}  // namespace historian::command
