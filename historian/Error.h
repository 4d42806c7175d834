#pragma once

#include <stdexcept>
#include <string>

#include "historian/Export.h"

namespace historian {

// Thrown by the functions of historian when the server or the connection fails. All texts are UTF-8.
class HISTORIAN_EXPORT Error : public std::runtime_error {
 public:
  // what() is "operation: text".
  Error(std::string operation, std::string text, std::string sqlState = {});
  Error(const Error&);
  Error& operator=(const Error&);
  ~Error() override;

  const std::string& Operation() const noexcept { return operation_; }  // what was being done
  const std::string& Text() const noexcept { return text_; }            // the server's own text
  // The five characters of the server's SQLSTATE; empty when the server did not answer: no connection could
  // be made, or it was lost.
  const std::string& SqlState() const noexcept { return sqlState_; }

 private:
  std::string operation_, text_, sqlState_;
};

}  // namespace historian
