#include "Markers.h"

#include <algorithm>
#include <unordered_map>

#include "MarkerScanner.h"
#include "port/Utf8.h"

namespace pq {
namespace {

constexpr std::size_t kMostDigits = 9;  // a longer run of digits is a name

// The number of a marker; -1 for a named one.
int NumberOf(std::wstring_view name) {
  if (name[0] < L'0' || name[0] > L'9' || name.size() > kMostDigits) return -1;
  int number = 0;
  for (const wchar_t digit : name) number = number * 10 + (digit - L'0');
  return number;
}

// Gives each parameter its place: the numbered ones ascending, then the named ones by appearance.
class Places {
 public:
  void Add(std::wstring_view name) {
    const int number = NumberOf(name);
    if (number >= 0) {
      numbers_.push_back(number);
    } else if (places_.try_emplace(name, named_.size()).second) {
      named_.push_back(name);
    }
  }

  // After the last one was added.
  void Arrange() {
    if (!std::is_sorted(numbers_.begin(), numbers_.end())) std::sort(numbers_.begin(), numbers_.end());
    numbers_.erase(std::unique(numbers_.begin(), numbers_.end()), numbers_.end());
  }

  std::size_t Of(std::wstring_view name) const {
    const int number = NumberOf(name);
    if (number < 0) return numbers_.size() + places_.at(name);
    const std::size_t dense = static_cast<std::size_t>(number - numbers_.front());
    if (dense < numbers_.size() && numbers_[dense] == number) return dense;
    const auto found = std::lower_bound(numbers_.begin(), numbers_.end(), number);
    return static_cast<std::size_t>(found - numbers_.begin());
  }

  const std::vector<int>& Numbers() const { return numbers_; }

  std::vector<std::wstring> Names() const {
    std::vector<std::wstring> names;
    names.reserve(numbers_.size() + named_.size());
    for (const int number : numbers_) names.push_back(std::to_wstring(number));
    names.insert(names.end(), named_.begin(), named_.end());
    return names;
  }

 private:
  std::vector<int> numbers_;
  std::vector<std::wstring_view> named_;
  std::unordered_map<std::wstring_view, std::size_t> places_;  // among the named ones
};

std::wstring_view NameOf(const Marker& marker, std::wstring_view statement) {
  return statement.substr(marker.at + 1, marker.length - 1);
}

}  // namespace

MarkedStatement ReplaceMarkers(std::wstring_view statement) {
  const std::vector<Marker> markers = FindMarkers(statement);
  Places places;
  for (const Marker& marker : markers) places.Add(NameOf(marker, statement));
  places.Arrange();

  std::string text;
  text.reserve(statement.size() + markers.size());
  std::size_t copied = 0;
  for (const Marker& marker : markers) {
    text += port::ToUtf8(statement.substr(copied, marker.at - copied));
    text += '$';
    text += std::to_string(places.Of(NameOf(marker, statement)) + 1);
    copied = marker.at + marker.length;
  }
  text += port::ToUtf8(statement.substr(copied));
  return {std::move(text), places.Names(), places.Numbers()};
}

}  // namespace pq
