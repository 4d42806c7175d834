#pragma once

#include <functional>
#include <vector>

#include "DbmsAPI/Dbms.h"

// One operation with arguments that make it run its statements.
struct OperationCall {
  int number;
  const char* name;
  std::function<bool(Dbms&)> call;
};

// The 69 operations in virtual order.
const std::vector<OperationCall>& AllOperations();
