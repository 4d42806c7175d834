#include <string>
#include <utility>

#include "SQLAPI.h"
#include "port/Utf8.h"
#include "pq/Text.h"

struct SAException::Details {
  SAErrorClass_t errorClass;
  int nativeCode;
  SAString text;
  std::string utf8;
  std::string sqlState;
};

SAException::SAException(SAErrorClass_t errorClass, int nativeCode, SAString text, std::string sqlState)
    : details_(std::make_shared<const Details>(
          Details{errorClass, nativeCode, text, sys::ToUtf8(pq::View(text)), std::move(sqlState)})) {}

SAException::SAException(const SAException&) noexcept = default;
SAException& SAException::operator=(const SAException&) noexcept = default;
SAException::~SAException() = default;

SAErrorClass_t SAException::ErrClass() const { return details_->errorClass; }
int SAException::ErrNativeCode() const { return details_->nativeCode; }
SAString SAException::ErrText() const { return details_->text; }
std::string SAException::SqlState() const { return details_->sqlState; }
const char* SAException::what() const noexcept { return details_->utf8.c_str(); }
