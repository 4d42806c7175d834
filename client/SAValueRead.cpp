#include <limits>
#include <string_view>
#include <utility>

#include "SQLAPI.h"
#include "port/Utf8.h"
#include "pq/BinaryFields.h"
#include "pq/Cell.h"
#include "pq/DateTimeText.h"
#include "pq/NumberText.h"
#include "pq/Types.h"

namespace {

std::string_view Text(const pq::Cell& cell) { return {cell.data, static_cast<std::size_t>(cell.length)}; }

// Whether the bytes are the value's text; NULL has none of either.
bool IsText(const pq::Cell& cell) { return !cell.data || !cell.binary || pq::IsText(cell.type); }

// The whole part of a number; a boolean reads as 1 or 0, NULL as 0.
template <class Integer>
Integer ReadInteger(const pq::Cell& cell) {
  using Limits = std::numeric_limits<Integer>;
  if (!cell.data) return 0;
  if (cell.binary) return static_cast<Integer>(pq::BinaryInteger(cell, Limits::min(), Limits::max()));
  if (cell.type == pq::kBool) return pq::ParseBool(Text(cell)) ? 1 : 0;
  return static_cast<Integer>(pq::ParseInteger(Text(cell), Limits::min(), Limits::max()));
}

}  // namespace

SAValueRead::~SAValueRead() = default;

bool SAValueRead::isNull() const { return !cell_->data; }

bool SAValueRead::asBool() const {
  if (!cell_->data) return false;
  return cell_->binary ? pq::BinaryBool(*cell_) : pq::ParseBool(Text(*cell_));
}

short SAValueRead::asShort() const { return ReadInteger<short>(*cell_); }

sa_int32_t SAValueRead::asLong() const { return ReadInteger<sa_int32_t>(*cell_); }

sa_int64_t SAValueRead::asInt64() const { return ReadInteger<sa_int64_t>(*cell_); }

double SAValueRead::asDouble() const {
  if (!cell_->data) return 0;
  if (cell_->binary) return pq::BinaryDouble(*cell_);
  if (cell_->type == pq::kBool) return pq::ParseBool(Text(*cell_)) ? 1 : 0;
  return pq::ParseDouble(Text(*cell_));
}

SAString SAValueRead::asString() const {
  std::wstring text;
  readText(text);
  return SAString(std::move(text));
}

void SAValueRead::readText(std::wstring& text) const {
  text = IsText(*cell_) ? sys::FromUtf8(Text(*cell_)) : sys::FromUtf8(pq::BinaryText(*cell_));
}

bool SAValueRead::isText(std::string_view utf8) const {
  return IsText(*cell_) ? Text(*cell_) == utf8 : pq::BinaryText(*cell_) == utf8;
}

bool SAValueRead::readCalendarSeconds(sa_int64_t& seconds) const {
  return cell_->data && cell_->binary && pq::BinaryCalendarSeconds(*cell_, seconds);
}

SADateTime SAValueRead::asDateTime() const {
  if (!cell_->data) return SADateTime();
  return cell_->binary ? pq::BinaryDateTime(*cell_) : pq::ParseDateTime(Text(*cell_));
}
