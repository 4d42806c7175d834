#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"

// What a second call does when the first has stored something.
enum class Again {
  ChangesNothing,  // succeeds: what is there stays, what is missing is added
  IsRefused,       // fails: the primary key does not let it in twice
  Adds             // succeeds, and stores it a second time
};

// An operation with its arguments, and what it leaves in the database.
struct Operation {
  const char* name;
  const char* table;    // that it works on, existing before; null when it creates or changes tables
  std::string prepare;  // statements that take back what it has done
  std::function<bool(Dbms&)> call;
  std::string held;        // a query for a number: how much of its work the database holds
  std::vector<int> holds;  // that number before its first statement and after each
  Again again = Again::ChangesNothing;
  bool probes = false;             // a failure of its first statement goes unreported, and it goes on
  bool setsReadCommitted = false;  // whatever the isolation level of the session

  int Statements() const { return static_cast<int>(holds.size()) - 1; }
  bool IsRead() const { return holds.front() == holds.back(); }
};

// Operations that work on the same tables.
struct Family {
  const char* name;
  std::function<bool(Dbms&)> create;
  std::vector<Operation> operations;
};

Family TagHistory();
Family UserLogs();
Family Alarms();
Family TagValues();
Family Reports();
Family UserAccounts();
Family SystemLog();
Family Recipes();
Family Goose();
Family Configuration();  // grid tables, network status, comments
Family AuditTrail();
Family Schema();  // creating, replacing and purging tables
Family Compression();

const std::vector<Family>& Families();

// The names of its operations, which the list of the tests shows.
std::ostream& operator<<(std::ostream& out, const Family& family);
