#include "Plant.h"

#include <random>

namespace bench {
namespace {

constexpr std::uint_fast64_t kSequence = 20240229;

double NextValue(std::mt19937_64& random, Values values) {
  const auto number = static_cast<double>(random() % 1000000);
  switch (values) {
    case Values::TenDigits: return std::uniform_real_distribution<double>(0, 500)(random);
    case Values::Short: return number / 10;
    case Values::Integers: return number;
  }
  return 0;
}

}  // namespace

std::wstring TagName(std::size_t tag) {
  std::wstring number = std::to_wstring(tag);
  number.insert(0, number.size() < 4 ? 4 - number.size() : 0, L'0');
  return L"PLANT1.PUMP" + number + L".FLOW";
}

std::vector<LogSample> PlantSamples(std::size_t count, std::size_t tags, Values values, Order order) {
  std::vector<std::wstring> names;
  for (std::size_t tag = 0; tag < tags; ++tag) names.push_back(TagName(tag));

  std::mt19937_64 random(kSequence);
  const std::size_t perTag = (count + tags - 1) / tags;
  std::vector<LogSample> samples;
  samples.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t tag = order == Order::ByCycle ? i % tags : i / perTag;
    const std::size_t second = order == Order::ByCycle ? i / tags : i % perTag;
    samples.push_back(
        {kPlantStartMs + static_cast<std::int64_t>(second) * 1000, names[tag], NextValue(random, values)});
  }
  return samples;
}

}  // namespace bench
