#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"

// What a second call does when the first one has stored something.
enum class Again {
  ChangesNothing,  // succeeds: stored rows stay, missing ones are added
  IsRefused,       // fails: the primary key refuses a second copy
  Adds             // succeeds, and stores it a second time
};

// An operation with its arguments, and what it leaves in the database.
struct Operation {
  const char* name;
  const char* table;    // the existing table that it uses; null when it creates or changes tables
  std::string prepare;  // statements that undo the operation
  std::function<bool(Dbms&)> call;
  std::string held;        // a query for a number: how much of its work is in the database
  std::vector<int> holds;  // that number before its first statement and after each
  Again again = Again::ChangesNothing;
  bool probes = false;             // when its first statement fails, it goes on and does not report that
  bool setsReadCommitted = false;  // regardless of the session's isolation level

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
