#include "historian/recorder/Failure.h"

#include <algorithm>

namespace historian::recorder {
namespace {

struct StateRule {
  std::string_view prefix;  // beginning of the SQLSTATE
  Verdict verdict;
};

// The first match counts. https://www.postgresql.org/docs/current/errcodes-appendix.html lists the codes.
constexpr StateRule kStateRules[] = {
    {"23505", Verdict::Duplicate},      {"25006", Verdict::WrongServer},  // read-only transaction
    {"0A", Verdict::RefusedProgram},     // not supported by this table or server
    {"21", Verdict::RefusedData},        // cardinality
    {"22", Verdict::RefusedData},        // data exception
    {"23", Verdict::RefusedData},        // constraint
    {"28", Verdict::RefusedProgram},     // password or role refused
    {"2F", Verdict::RefusedData},        // SQL routine
    {"3D", Verdict::RefusedProgram},     // no such database
    {"3F", Verdict::RefusedProgram},     // no such schema
    {"42", Verdict::RefusedProgram},     // no such table, no right
    {"44", Verdict::RefusedData},        // check option of a view
    {"54", Verdict::RefusedData},        // too long for an index
    {"55000", Verdict::RefusedProgram},  // object not in the state it needs
    {"P0", Verdict::RefusedData},        // raised by a trigger
    {"TS", Verdict::RefusedProgram},     // TimescaleDB's own
};

}  // namespace

Verdict Classify(std::string_view sqlState) {
  for (const StateRule& rule : kStateRules) {
    if (sqlState.starts_with(rule.prefix)) return rule.verdict;
  }
  return Verdict::TryLater;
}

Backoff::Milliseconds Backoff::Next(double chance) {
  const Milliseconds pause = next_;
  next_ = std::min(next_ * 2, longest_);
  return Milliseconds(static_cast<Milliseconds::rep>(static_cast<double>(pause.count()) * (1 - chance / 2)));
}

}  // namespace historian::recorder
