#include <string>

#include "SQLAPI.h"

void SAValue::setAsNull() { kind_ = Kind::Null; }

bool& SAValue::setAsBool() {
  kind_ = Kind::Bool;
  return scalar_.asBool = false;
}

short& SAValue::setAsShort() {
  kind_ = Kind::Short;
  return scalar_.asShort = 0;
}

sa_int32_t& SAValue::setAsLong() {
  kind_ = Kind::Long;
  return scalar_.asLong = 0;
}

sa_int64_t& SAValue::setAsInt64() {
  kind_ = Kind::Int64;
  return scalar_.asInt64 = 0;
}

double& SAValue::setAsDouble() {
  kind_ = Kind::Double;
  return scalar_.asDouble = 0;
}

SAString& SAValue::setAsString() {
  if (kind_ != Kind::String) text_ = L"";  // which keeps its memory
  kind_ = Kind::String;
  return text_;
}

const SAString& SAParam::Name() const {
  if (name_.IsEmpty()) name_ = std::to_wstring(number_).c_str();
  return name_;
}
