#include "historian/Error.h"

#include <utility>

namespace historian {

Error::Error(std::string operation, std::string text, std::string sqlState)
    : std::runtime_error(operation + ": " + text),
      operation_(std::move(operation)),
      text_(std::move(text)),
      sqlState_(std::move(sqlState)) {}

Error::Error(const Error&) = default;
Error& Error::operator=(const Error&) = default;
Error::~Error() = default;

}  // namespace historian
