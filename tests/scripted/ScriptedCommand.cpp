#include <SQLAPI.h>

#include <deque>
#include <map>

#include "DbmsAPI/frame/Format.h"
#include "port/Utf8.h"
#include "pq/Cell.h"
#include "pq/Markers.h"
#include "pq/Text.h"
#include "scripted/ScriptedConnection.h"
#include "scripted/ScriptedServer.h"

namespace {

std::wstring Written(const SAValue& value) {
  switch (value.kind()) {
    case SAValue::Kind::Unbound: return L"unbound";
    case SAValue::Kind::Null: return L"null";
    case SAValue::Kind::Bool: return value.boundBool() ? L"bool true" : L"bool false";
    case SAValue::Kind::Short: return Format(L"int2 {}", static_cast<int>(value.boundShort()));
    case SAValue::Kind::Long: return Format(L"int4 {}", value.boundLong());
    case SAValue::Kind::Int64: return Format(L"int8 {}", value.boundInt64());
    case SAValue::Kind::Double: return L"float8 " + ShortestText(value.boundDouble());
    case SAValue::Kind::String:
      return std::wstring(L"text ") + static_cast<const SAChar*>(value.boundString());
  }
  return L"?";
}

// The same as in the client layer.
void RefuseNul(const SAString& text) {
  if (pq::HoldsNul(text)) throw SAException(SA_Library_Error, 0, L"a text holds a NUL character");
}

}  // namespace

class SACommand::Impl {
 public:
  SAConnection* connection = nullptr;
  std::wstring text;
  std::deque<SAParam> params;
  std::map<std::wstring, std::size_t> places;
  std::size_t next = 0;  // parameter that << binds

  scripted::Reply reply;
  std::size_t row = 0;
  std::deque<pq::Cell> cells;
  std::deque<std::string> texts;  // of the cells
  std::deque<SAField> fields;

  SAParam& Find(const std::wstring& name) {
    const auto place = places.find(name);
    if (place == places.end()) throw SAException(SA_Library_Error, 0, L"no such parameter");
    return params[place->second];
  }

  SAParam& Next() {
    if (next >= params.size()) throw SAException(SA_Library_Error, 0, L"more values than parameters");
    return params[next++];
  }

  void Show(const scripted::Row& values) {
    cells.clear();
    texts.clear();
    fields.clear();
    for (const scripted::CellText& value : values) {
      texts.push_back(value ? sys::ToUtf8(*value) : std::string());
      cells.push_back({value ? texts.back().c_str() : nullptr, static_cast<int>(texts.back().size()), 0});
      fields.emplace_back(&cells.back(), SAString());
    }
  }
};

SACommand::SACommand(SAConnection* connection, const SAString& text) : impl_(std::make_unique<Impl>()) {
  impl_->connection = connection;
  if (!text.IsEmpty()) setCommandText(text);
}

SACommand::~SACommand() = default;

void SACommand::setCommandText(SAString&& text) {
  RefuseNul(text);
  impl_->text = text;
  impl_->params.clear();
  impl_->places.clear();
  impl_->next = 0;
  const auto add = [this](const std::wstring& name) {
    impl_->places[name] = impl_->params.size();
    impl_->params.emplace_back(SAString(name));
  };
  const pq::MarkedStatement marked = pq::ReplaceMarkers(impl_->text);
  for (const int number : marked.numbers) add(std::to_wstring(number));
  for (const std::wstring& name : marked.named) add(name);
}

void SACommand::setCommandText(const SAChar* text) { setCommandText(SAString(text)); }

SAString SACommand::CommandText() const { return impl_->text; }

int SACommand::ParamCount() const { return static_cast<int>(impl_->params.size()); }
SAParam& SACommand::Param(int number) { return impl_->Find(std::to_wstring(number)); }
SAParam& SACommand::Param(const SAString& name) { return impl_->Find(static_cast<const SAChar*>(name)); }

SACommand& SACommand::operator<<(bool value) { return impl_->Next().setAsBool() = value, *this; }
SACommand& SACommand::operator<<(short value) { return impl_->Next().setAsShort() = value, *this; }
SACommand& SACommand::operator<<(int value) { return impl_->Next().setAsLong() = value, *this; }
SACommand& SACommand::operator<<(long value) {
  if constexpr (sizeof value == sizeof(sa_int32_t)) {
    return *this << static_cast<int>(value);
  } else {
    return *this << static_cast<long long>(value);
  }
}
SACommand& SACommand::operator<<(long long value) { return impl_->Next().setAsInt64() = value, *this; }
SACommand& SACommand::operator<<(double value) { return impl_->Next().setAsDouble() = value, *this; }
SACommand& SACommand::operator<<(const SAChar* value) { return impl_->Next().setAsString() = value, *this; }
SACommand& SACommand::operator<<(SAString value) {
  return impl_->Next().setAsString() = std::move(value), *this;
}
SACommand& SACommand::operator<<(const SANull&) { return impl_->Next().setAsNull(), *this; }

void SACommand::setBinaryResults(bool) {}

void SACommand::Execute() {
  if (!impl_->connection->isConnected()) throw SAException(SA_Library_Error, 0, L"not connected");
  scripted::Sent sent{impl_->text, {}};
  for (const SAParam& param : impl_->params) {
    if (!param.isBound()) throw SAException(SA_Library_Error, 0, L"a parameter is not bound");
    RefuseNul(param.boundString());
    sent.binds.push_back(Written(param));
  }
  impl_->next = 0;
  impl_->row = 0;
  impl_->reply = scripted::Server::Current().Execute(sent);
}

bool SACommand::FetchNext() {
  const scripted::Reply& reply = impl_->reply;
  if (reply.failAfterRows == impl_->row)
    throw SAException(SA_DBMS_API_Error, 7, L"ERROR:  broken off by the script");
  if (impl_->row == reply.rows.size()) return false;
  impl_->Show(reply.rows[impl_->row++]);
  return true;
}

int SACommand::FieldCount() const { return static_cast<int>(impl_->fields.size()); }

SAField& SACommand::Field(int number) {
  if (number < 1 || number > FieldCount()) throw SAException(SA_Library_Error, 0, L"no such field");
  return impl_->fields[static_cast<std::size_t>(number - 1)];
}

SAField& SACommand::Field(const SAString&) {
  throw SAException(SA_Library_Error, 0, L"fields have no names here");
}
