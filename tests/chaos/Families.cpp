#include "chaos/Families.h"

const std::vector<Family>& Families() {
  static const std::vector<Family> families = {
      TagHistory(), UserLogs(), Alarms(),        TagValues(),  Reports(), UserAccounts(), SystemLog(),
      Recipes(),    Goose(),    Configuration(), AuditTrail(), Schema(),  Compression()};
  return families;
}

std::ostream& operator<<(std::ostream& out, const Family& family) {
  const char* separator = "";
  for (const Operation& operation : family.operations) {
    out << separator << '`' << operation.name << '`';
    separator = ", ";
  }
  return out;
}
