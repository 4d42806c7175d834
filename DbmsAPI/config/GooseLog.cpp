#include <charconv>
#include <stdexcept>

#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "port/Utf8.h"

namespace {

constexpr wchar_t kCreateGoose[] =
    L"create table if not exists iec_goose ("
    L"time timestamptz NOT NULL,"
    L"GOOSE_ControlBlock_Ref text NOT NULL,"
    L"DataSet text NOT NULL,"
    L"GOOSE_ID text NOT NULL,"
    L"AllowedToLive int NOT NULL,"
    L"Structure_Number int NOT NULL,"
    L"Sequence_Number int NOT NULL,"
    L"simulation bool NOT NULL,"
    L"ndsCom bool NOT NULL,"
    L"invalidityTime timestamptz NOT NULL,"
    L"stateValid bool NOT NULL,"
    L"srcMac text NOT NULL,"
    L"dstMac text NOT NULL,"
    L"appId int NOT NULL,"
    L"dataSetValues text NOT NULL,"
    L"dataSetValuesSelfAllocated bool NOT NULL,"
    L"dstMacSet bool NOT NULL,"
    L"isObserver bool NOT NULL,"
    L"vlanSet bool NOT NULL,"
    L"vlanId int NOT NULL,"
    L"vlanPrio int NOT NULL,"
    L"primary key (time,GOOSE_ControlBlock_Ref))";

// {}: the record's fields in the order of the columns; invalidityTime in epoch seconds.
// Kept: texts are spliced; a quote in one damages the statement.
constexpr wchar_t kInsertGoose[] =
    L"insert into iec_goose (time, GOOSE_ControlBlock_Ref, DataSet, GOOSE_ID, AllowedToLive, "
    L"Structure_Number,Sequence_Number, simulation, ndsCom, invalidityTime, stateValid, srcMac, dstMac, "
    L"appId, dataSetValues,dataSetValuesSelfAllocated, dstMacSet, isObserver, vlanSet, vlanId, vlanPrio) "
    L"values(now(), '{}', '{}', '{}', '{}', '{}', '{}', '{}', '{}', to_timestamp('{}'), "
    L"'{}', '{}', '{}', '{}', '{}', '{}', '{}', '{}', '{}', '{}', '{}')";

bool IsHexadecimal(std::string_view number) {
  return (number.starts_with("0x") || number.starts_with("0X")) &&
         number.find_first_of(".0123456789abcdefABCDEF", 2) == 2;
}

// The number that a text begins with, as std::stod reads it but independent of the locale: blanks, a sign,
// then a decimal or hexadecimal number, infinity or nan. The rest of the text is ignored.
double LeadingNumber(const std::wstring& text) {
  std::string number = sys::ToUtf8(text);
  number.erase(0, number.find_first_not_of(" \t\n\v\f\r"));
  const bool negative = number.starts_with('-');
  if (negative || number.starts_with('+')) number.erase(0, 1);
  if (number.starts_with('-')) throw std::invalid_argument("invalid stod argument");

  const char* const end = number.data() + number.size();
  double value = 0.0;
  std::errc error = std::errc::invalid_argument;
  if (IsHexadecimal(number))
    error = std::from_chars(number.data() + 2, end, value, std::chars_format::hex).ec;
  // "0x" without a digit after it is the number 0.
  if (error == std::errc::invalid_argument) error = std::from_chars(number.data(), end, value).ec;
  if (error == std::errc::invalid_argument) throw std::invalid_argument("invalid stod argument");
  if (error == std::errc::result_out_of_range) throw std::out_of_range("stod argument out of range");
  return negative ? -value : value;
}

std::wstring InsertStatement(const GooseMessageRecord& message) {
  const double invaliditySeconds = LeadingNumber(message.invalidityTime) / 1000.0;
  return Format(kInsertGoose, message.GOOSE_ControlBlock_Ref, message.DataSet, message.GOOSE_ID,
                message.AllowedToLive, message.Structure_Number, message.Sequence_Number, message.simulation,
                message.ndsCom, ShortestText(invaliditySeconds), message.stateValid, message.srcMac,
                message.dstMac, message.appId, message.dataSetValues, message.dataSetValuesSelfAllocated,
                message.dstMacSet, message.isObserver, message.vlanSet, message.vlanId, message.vlanPrio);
}

}  // namespace

bool TirelScada::CreateGooseTable() { return Run(kCreateGoose); }

// Kept: does not connect and sends nothing.
bool TirelScada::ResetGooseLog() { return true; }

bool TirelScada::InsertGooseMessage(const GooseMessageRecord& message) {
  return Run([&](SACommand& command) { Execute(command, InsertStatement(message)); });
}
