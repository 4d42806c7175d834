#include "Parameters.h"

#include <bit>

#include "Errors.h"
#include "NetworkOrder.h"
#include "Text.h"
#include "Types.h"
#include "port/Utf8.h"

namespace pq {
namespace {

constexpr std::size_t kMaxKeptValues = 2000;  // buffers for more are freed with the next, shorter statement

SAException ParameterError(const SAParam& parameter, const wchar_t* what) {
  return UsageError(L"The parameter :" + std::wstring(parameter.Name()) + what);
}

SAException TooLong(const SAParam& parameter) {
  return ParameterError(parameter, L" is longer than the server takes");
}

}  // namespace

void Parameters::Bind(const std::vector<SAParam>& values) {
  const std::size_t count = values.size();
  if (count < kMaxKeptValues && types_.capacity() > kMaxKeptValues) *this = Parameters(maxTextSize_);
  types_.assign(count, kUntyped);
  values_.assign(count, nullptr);
  lengths_.assign(count, 0);
  formats_.assign(count, kTextFormat);
  scalars_.resize(count);
  texts_.clear();
  textIndexes_.clear();
  for (std::size_t i = 0; i < count; ++i) Set(i, values[i]);
  PointAtTexts();
}

void Parameters::Set(std::size_t index, const SAParam& value) {
  switch (value.kind()) {
    case SAValue::Kind::Unbound: throw ParameterError(value, L" has no value");
    case SAValue::Kind::Null: return;
    case SAValue::Kind::Bool: return SetScalar(index, kBool, 1, value.boundBool() ? 1 : 0);
    case SAValue::Kind::Short:
      return SetScalar(index, kInt2, 2, static_cast<std::uint16_t>(value.boundShort()));
    case SAValue::Kind::Long:
      return SetScalar(index, kInt4, 4, static_cast<std::uint32_t>(value.boundLong()));
    case SAValue::Kind::Int64:
      return SetScalar(index, kInt8, 8, static_cast<std::uint64_t>(value.boundInt64()));
    case SAValue::Kind::Double:
      return SetScalar(index, kFloat8, 8, std::bit_cast<std::uint64_t>(value.boundDouble()));
    case SAValue::Kind::String: return AppendText(index, value);
  }
}

// The value is in the low `size` bytes of `bits`.
void Parameters::SetScalar(std::size_t index, unsigned type, std::size_t size, std::uint64_t bits) {
  Scalar& bytes = scalars_[index];
  ToNetwork(bits, bytes.data());
  types_[index] = type;
  values_[index] = bytes.data() + bytes.size() - size;
  lengths_[index] = static_cast<int>(size);
  formats_[index] = kBinaryFormat;
}

void Parameters::AppendText(std::size_t index, const SAParam& value) {
  const SAString& text = value.boundString();
  if (HoldsNul(text)) throw ParameterError(value, L" holds a NUL character");
  const std::size_t start = texts_.size();
  if (text.GetLength() > maxTextSize_) throw TooLong(value);
  sys::AppendUtf8(texts_, View(text));
  if (texts_.size() - start > maxTextSize_) throw TooLong(value);
  lengths_[index] = static_cast<int>(texts_.size() - start);
  texts_.push_back('\0');
  textIndexes_.push_back(index);
}

// Called after all texts were appended, which may move them.
void Parameters::PointAtTexts() {
  const char* text = texts_.data();
  for (const std::size_t index : textIndexes_) {
    values_[index] = text;
    text += lengths_[index] + 1;
  }
}

bool Parameters::Fit(const std::vector<unsigned>& parsed) const {
  if (parsed.size() != types_.size()) return false;
  for (std::size_t i = 0; i < types_.size(); ++i) {
    if (values_[i] && types_[i] != parsed[i]) return false;
  }
  return true;
}

void Parameters::UpdateTypes(std::vector<unsigned>& types) const {
  types.resize(types_.size(), kUntyped);
  for (std::size_t i = 0; i < types_.size(); ++i) {
    if (values_[i]) types[i] = types_[i];
  }
}

}  // namespace pq
