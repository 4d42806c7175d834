#include "Parameters.h"

#include <bit>
#include <string_view>

#include "Errors.h"
#include "port/Utf8.h"

namespace pq {
namespace {

// Types of the server, as their object ids.
constexpr unsigned kUntyped = 0;
constexpr unsigned kBool = 16;
constexpr unsigned kInt8 = 20;
constexpr unsigned kInt2 = 21;
constexpr unsigned kInt4 = 23;
constexpr unsigned kFloat8 = 701;

constexpr int kText = 0;
constexpr int kBinary = 1;

SAException Wrong(const SAParam& parameter, const wchar_t* what) {
  return Misuse(L"The parameter :" + std::wstring(parameter.Name()) + what);
}

}  // namespace

void Parameters::Bind(const std::vector<SAParam>& values) {
  const std::size_t count = values.size();
  types_.assign(count, kUntyped);
  values_.assign(count, nullptr);
  lengths_.assign(count, 0);
  formats_.assign(count, kText);
  scalars_.resize(count);
  texts_.resize(count);
  for (std::size_t i = 0; i < count; ++i) Set(i, values[i]);
}

void Parameters::Set(std::size_t index, const SAParam& value) {
  switch (value.kind()) {
    case SAValue::Kind::Unbound: throw Wrong(value, L" has no value");
    case SAValue::Kind::Null: return;
    case SAValue::Kind::Bool: return SetScalar(index, kBool, static_cast<unsigned char>(value.boundBool()));
    case SAValue::Kind::Short: return SetScalar(index, kInt2, static_cast<std::uint16_t>(value.boundShort()));
    case SAValue::Kind::Long: return SetScalar(index, kInt4, static_cast<std::uint32_t>(value.boundLong()));
    case SAValue::Kind::Int64: return SetScalar(index, kInt8, static_cast<std::uint64_t>(value.boundInt64()));
    case SAValue::Kind::Double:
      return SetScalar(index, kFloat8, std::bit_cast<std::uint64_t>(value.boundDouble()));
    case SAValue::Kind::String: return SetText(index, value);
  }
}

template <class Unsigned>
void Parameters::SetScalar(std::size_t index, unsigned type, Unsigned bits) {
  Scalar& bytes = scalars_[index];
  for (std::size_t i = 0; i < sizeof bits; ++i) {
    bytes[sizeof bits - 1 - i] = static_cast<char>(static_cast<std::uint64_t>(bits) >> (8 * i) & 0xFF);
  }
  types_[index] = type;
  values_[index] = bytes.data();
  lengths_[index] = sizeof bits;
  formats_[index] = kBinary;
}

void Parameters::SetText(std::size_t index, const SAParam& value) {
  const SAString& text = value.boundString();
  const std::wstring_view characters(text, text.GetLength());
  // The text would end there unnoticed.
  if (characters.find(L'\0') != std::wstring_view::npos) throw Wrong(value, L" holds a NUL character");
  texts_[index] = port::ToUtf8(characters);
  values_[index] = texts_[index].c_str();
  lengths_[index] = static_cast<int>(texts_[index].size());
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
