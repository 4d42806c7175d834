// Values in the server's binary format: the reader stays within their bytes, and gives the same results as
// for their texts.

#include <SQLAPI.h>

#include <cmath>
#include <optional>
#include <string>

#include "Fuzz.h"
#include "client/pq/BinaryFields.h"
#include "client/pq/DateTimeText.h"
#include "client/pq/NumberText.h"

namespace {

constexpr unsigned kTypes[] = {16, 20, 21, 23, 25, 701, 1184, 1700};  // bool to numeric

// The result of an action; no value when it throws, which must be a class 2 error.
template <class Action>
auto Try(Action action) -> std::optional<decltype(action())> {
  try {
    return action();
  } catch (const SAException& error) {
    REQUIRE(error.ErrClass() == SA_Library_Error);
    return std::nullopt;
  }
}

std::optional<std::uint64_t> Bits(std::optional<double> value) {
  return value ? std::optional(std::bit_cast<std::uint64_t>(*value)) : std::nullopt;
}

bool IsSame(const SADateTime& a, const SADateTime& b) {
  return a.GetYear() == b.GetYear() && a.GetMonth() == b.GetMonth() && a.GetDay() == b.GetDay() &&
         a.GetHour() == b.GetHour() && a.GetMinute() == b.GetMinute() && a.GetSecond() == b.GetSecond() &&
         a.Fraction() == b.Fraction();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const unsigned type = kTypes[input.Below(std::size(kTypes))];
  const std::string bytes(input.Rest());
  pq::Cell cell;
  cell.data = bytes.data();
  cell.length = static_cast<int>(bytes.size());
  cell.type = type;
  cell.binary = true;

  const auto text = Try([&] { return pq::BinaryText(cell); });
  const auto value = Try([&] { return pq::BinaryDouble(cell); });
  const auto whole = Try([&] { return pq::BinaryInteger(cell, INT64_MIN, INT64_MAX); });
  const auto date = Try([&] { return pq::BinaryDateTime(cell); });
  Try([&] { return pq::BinaryBool(cell); });
  if (!text) {
    REQUIRE(!value && !whole && !date);
  } else if (type != kTypes[0]) {  // the texts of booleans are not numbers
    REQUIRE(Bits(value) == Bits(Try([&] { return pq::ParseDouble(*text); })));
    REQUIRE(whole == Try([&] { return pq::ParseInteger(*text, INT64_MIN, INT64_MAX); }));
    const auto same = Try([&] { return pq::ParseDateTime(*text); });
    REQUIRE(date.has_value() == same.has_value() && (!date || IsSame(*date, *same)));
  }
  return 0;
}
