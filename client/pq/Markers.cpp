#include "Markers.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "MarkerScanner.h"
#include "port/Utf8.h"

namespace pq {
namespace {

constexpr std::size_t kMostDigits = 9;  // a longer run of digits is a name

// The number of a marker; -1 for a named one.
int NumberOf(std::string_view name) {
  if (name[0] < '0' || name[0] > '9' || name.size() > kMostDigits) return -1;
  int number = 0;
  for (const char digit : name) number = number * 10 + (digit - '0');
  return number;
}

void AppendNumber(std::string& text, std::size_t number) {
  char digits[20];
  text.append(digits, std::to_chars(digits, std::end(digits), number).ptr);
}

// Gives each parameter its place: the numbered ones ascending, then the named ones by appearance.
class Places {
 public:
  // Takes the next marker, and gives its key: its number, or for a named one -1, -2, ... by name.
  int Add(std::string_view name) {
    const int number = NumberOf(name);
    if (number >= 0) {
      numbers_.push_back(number);
      return number;
    }
    const auto [place, isNew] = places_.try_emplace(name, named_.size());
    if (isNew) named_.push_back(name);
    return -1 - static_cast<int>(place->second);
  }

  // After the last one was added.
  void Arrange() {
    if (!std::is_sorted(numbers_.begin(), numbers_.end())) std::sort(numbers_.begin(), numbers_.end());
    numbers_.erase(std::unique(numbers_.begin(), numbers_.end()), numbers_.end());
  }

  std::size_t Of(int key) const {
    if (key < 0) return numbers_.size() + static_cast<std::size_t>(-1 - key);
    const std::size_t dense = static_cast<std::size_t>(key - numbers_.front());
    if (dense < numbers_.size() && numbers_[dense] == key) return dense;
    const auto found = std::lower_bound(numbers_.begin(), numbers_.end(), key);
    return static_cast<std::size_t>(found - numbers_.begin());
  }

  // Whether the parameters are 1, 2, ... without a gap and a name.
  bool AreNumbers() const {
    return named_.empty() && !numbers_.empty() && numbers_.front() == 1 &&
           static_cast<std::size_t>(numbers_.back()) == numbers_.size();
  }

  std::vector<int> TakeNumbers() { return std::move(numbers_); }

  std::vector<std::wstring> Named() const {
    std::vector<std::wstring> named;
    for (const std::string_view name : named_) named.push_back(sys::FromUtf8(name));
    return named;
  }

 private:
  std::vector<int> numbers_;
  std::vector<std::string_view> named_;
  std::unordered_map<std::string_view, std::size_t> places_;  // among the named ones
};

// Writes the statement with the places of its parameters.
std::string WithPlaces(const std::string& statement, const std::vector<Marker>& markers,
                       const std::vector<int>& keys, const Places& places) {
  std::string text;
  text.reserve(statement.size() + markers.size());
  std::size_t copied = 0;
  for (std::size_t i = 0; i < markers.size(); ++i) {
    text.append(statement, copied, markers[i].at - copied).append(markers[i].glued ? " $" : "$");
    AppendNumber(text, places.Of(keys[i]) + 1);
    copied = markers[i].at + markers[i].length;
  }
  return text.append(statement, copied);
}

// The same where the numbers are the places, as they are in nearly all statements: only the colons change.
std::string WithDollars(std::string statement, const std::vector<Marker>& markers) {
  for (const Marker& marker : markers) statement[marker.at] = '$';
  return statement;
}

}  // namespace

MarkedStatement ReplaceMarkers(std::wstring_view wide) {
  std::string statement = sys::ToUtf8(wide);
  const std::vector<Marker> markers = FindMarkers(statement);
  Places places;
  std::vector<int> keys;
  keys.reserve(markers.size());
  bool isPlain = true;  // without leading zeros, and a blank to be put before them
  for (const Marker& marker : markers) {
    keys.push_back(places.Add(std::string_view(statement).substr(marker.at + 1, marker.length - 1)));
    if (statement[marker.at + 1] == '0' || marker.glued) isPlain = false;
  }
  places.Arrange();
  auto named = places.Named();
  std::string text = isPlain && places.AreNumbers() ? WithDollars(std::move(statement), markers)
                                                    : WithPlaces(statement, markers, keys, places);
  return {std::move(text), places.TakeNumbers(), std::move(named)};
}

std::vector<std::wstring> MarkedStatement::Names() const {
  std::vector<std::wstring> names;
  for (const int number : numbers) names.push_back(std::to_wstring(number));
  names.insert(names.end(), named.begin(), named.end());
  return names;
}

}  // namespace pq
