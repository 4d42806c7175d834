// Compares WriteTenDigits with the standard library, byte by byte:
//   compare_ten_digits [RANDOM [TRICKY]]     100 million and 10 million unless told otherwise

#include <charconv>
#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>

#include "DbmsAPI/history/TenDigits.h"
#include "TrickyDoubles.h"

namespace {

constexpr std::uint64_t kSequence = 20240229;

// Whether both write the same; shows a value for which they do not.
bool Agree(double value) {
  char fast[kTenDigitsRoom], standard[kTenDigitsRoom];
  const std::string_view ours(fast, static_cast<std::size_t>(WriteTenDigits(fast, value) - fast));
  const char* const end =
      std::to_chars(standard, standard + sizeof standard, value, std::chars_format::general, 10).ptr;
  const std::string_view theirs(standard, static_cast<std::size_t>(end - standard));
  if (ours == theirs) return true;
  std::cout << ours << " instead of " << theirs << '\n';
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint64_t random = argc > 1 ? std::stoull(argv[1]) : 100000000;
  const std::uint64_t tricky = argc > 2 ? std::stoull(argv[2]) : 10000000;
  bench::TrickyDoubles doubles(kSequence);
  std::uint64_t differences = 0;
  for (std::uint64_t i = 0; i < random; ++i) {
    differences += Agree(i % 2 == 0 ? doubles.AnyDouble() : doubles.AnyMeasurement()) ? 0u : 1u;
  }
  for (std::uint64_t i = 0; i < tricky; ++i) differences += Agree(doubles.Tricky()) ? 0u : 1u;
  std::cout << "ten digits: " << random << " random and " << tricky << " tricky values, " << differences
            << " written differently\n";
  return differences == 0 ? 0 : 1;
}
