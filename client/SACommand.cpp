#include <algorithm>
#include <string>
#include <utility>

#include "ConnectionImpl.h"
#include "pq/Errors.h"
#include "pq/RowReader.h"
#include "pq/Text.h"

namespace {

SAException NoParameter(const std::wstring& name) {
  return pq::UsageError(L"The statement has no parameter :" + name);
}

SAException NoColumn(const std::wstring& name) { return pq::UsageError(L"The result has no column " + name); }

// Whether a prepared statement failed because a table has other columns now, or because the server has
// forgotten the statement.
bool IsOutdated(const SAException& error) {
  const std::string state = error.SqlState();
  return state == "0A000" || state == "26000";
}

// Whether a column's type may lack a binary format. A missing function has the same SQLSTATE.
bool HasNoBinaryFormat(const SAException& error) { return error.SqlState() == "42883"; }

template <class Named>
auto FindNamed(std::vector<Named>& all, const SAString& name) {
  return std::find_if(all.begin(), all.end(), [&](const Named& one) { return one.Name() == name; });
}

}  // namespace

class SACommand::Impl {
 public:
  explicit Impl(std::shared_ptr<SharedConnection> its) : shared(std::move(its)) {}

  void Run(const pq::Parameters& values) {
    const bool binary = AsksForBinary();
    try {
      Start(values, binary);
    } catch (const SAException& error) {
      const bool asText = binary && HasNoBinaryFormat(error);
      const bool repeat = (asText || (IsPrepared() && IsOutdated(error))) && shared->connection.IsIdle();
      statement->Forget();
      if (!repeat) throw;
      Start(values, binary && !asText);
    }
  }

  void SetStatement(std::shared_ptr<pq::Statement> its) {
    parameters = its->MakeParameters();
    statement = std::move(its);
    fields.clear();
    rows.Clear();
    next = 0;
  }

  SAParam& ByNumber(int number) {
    const std::size_t index = statement->IndexOf(number);
    if (index == statement->numbers.size()) throw NoParameter(std::to_wstring(number));
    return parameters[index];
  }

  SAParam& NextParameter() {
    if (next == parameters.size())
      throw pq::UsageError(L"There are more values than the statement has parameters");
    return parameters[next++];
  }

  std::shared_ptr<SharedConnection> shared;
  std::shared_ptr<pq::Statement> statement = shared->noStatement;
  std::vector<SAParam> parameters;
  std::size_t next = 0;   // to be bound by operator<<
  bool inBinary = false;  // asked for, and with times
  bool withTimes = false;
  pq::RowReader rows{shared->connection};
  std::vector<SAField> fields;

 private:
  bool IsPrepared() const { return !statement->name.empty(); }

  bool AsksForBinary() const {
    return inBinary && (!withTimes || shared->connection.Zone() != pq::SessionZone::Unknown);
  }

  void Start(const pq::Parameters& values, bool binary) {
    rows.Clear();
    rows.Start(shared->connection.Send(*statement, values, binary));
    if (binary && rows.IsUnreadable()) Start(values, false);
  }
};

SACommand::SACommand(SAConnection* connection, const SAString& text)
    : impl_(std::make_unique<Impl>(connection ? connection->impl_->shared
                                              : std::make_shared<SharedConnection>())) {
  if (!text.IsEmpty()) setCommandText(text);
}

SACommand::~SACommand() = default;

void SACommand::setCommandText(SAString&& text) {
  if (pq::HoldsNul(text)) throw pq::UsageError(L"The statement holds a NUL character");
  impl_->SetStatement(impl_->shared->statements.Get(std::move(text)));
}

void SACommand::setCommandText(const SAChar* text) {
  auto known = impl_->shared->statements.Find(text ? text : L"");
  known ? impl_->SetStatement(std::move(known)) : setCommandText(SAString(text));
}

SAString SACommand::CommandText() const { return impl_->statement->wideText; }

int SACommand::ParamCount() const { return static_cast<int>(impl_->parameters.size()); }

SAParam& SACommand::Param(int number) { return impl_->ByNumber(number); }

SAParam& SACommand::Param(const SAString& name) {
  const auto found = FindNamed(impl_->parameters, name);
  if (found == impl_->parameters.end()) throw NoParameter(std::wstring(name));
  return *found;
}

SACommand& SACommand::operator<<(bool value) {
  impl_->NextParameter().setAsBool() = value;
  return *this;
}

SACommand& SACommand::operator<<(short value) {
  impl_->NextParameter().setAsShort() = value;
  return *this;
}

SACommand& SACommand::operator<<(int value) {
  impl_->NextParameter().setAsLong() = value;
  return *this;
}

SACommand& SACommand::operator<<(long value) {
  if constexpr (sizeof(long) == sizeof(sa_int32_t)) return *this << static_cast<int>(value);
  return *this << static_cast<long long>(value);
}

SACommand& SACommand::operator<<(long long value) {
  impl_->NextParameter().setAsInt64() = value;
  return *this;
}

SACommand& SACommand::operator<<(double value) {
  impl_->NextParameter().setAsDouble() = value;
  return *this;
}

SACommand& SACommand::operator<<(const SAChar* value) {
  impl_->NextParameter().setAsString() = value;
  return *this;
}

SACommand& SACommand::operator<<(SAString value) {
  impl_->NextParameter().setAsString() = std::move(value);
  return *this;
}

SACommand& SACommand::operator<<(const SANull&) {
  impl_->NextParameter().setAsNull();
  return *this;
}

void SACommand::setBinaryResults(bool withTimes) {
  impl_->inBinary = true;
  impl_->withTimes = withTimes;
}

void SACommand::Execute() {
  impl_->next = 0;
  pq::Parameters& values = impl_->shared->parameters;
  values.Bind(impl_->parameters);
  impl_->fields.clear();
  impl_->Run(values);
  const std::vector<pq::Cell>& cells = impl_->rows.Cells();
  for (std::size_t i = 0; i < cells.size(); ++i) {
    impl_->fields.emplace_back(&cells[i], SAString(impl_->rows.ColumnNames()[i].c_str()));
  }
}

bool SACommand::FetchNext() { return impl_->rows.FetchNext(); }

int SACommand::FieldCount() const { return static_cast<int>(impl_->fields.size()); }

SAField& SACommand::Field(int number) {
  const std::size_t index = static_cast<std::size_t>(number) - 1;  // great for numbers below 1
  if (index >= impl_->fields.size()) throw NoColumn(std::to_wstring(number));
  return impl_->fields[index];
}

SAField& SACommand::Field(const SAString& name) {
  const auto found = FindNamed(impl_->fields, name);
  if (found == impl_->fields.end()) throw NoColumn(std::wstring(name));
  return *found;
}
