#include "Markers.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "MarkerScanner.h"
#include "port/Utf8.h"

namespace pq {
namespace {

std::string_view NameOf(const Marker& marker, std::string_view statement) {
  return statement.substr(marker.at + 1, marker.length - 1);
}

// Makes each marker $k, k being one more than the index that `indexOf` gives for it.
template <class Index>
std::string WithDollars(std::string statement, const std::vector<Marker>& markers, Index indexOf) {
  std::string text;
  std::size_t copied = 0;
  for (const Marker& marker : markers) {
    const std::size_t k = indexOf(marker, statement) + 1;
    statement[marker.at] = '$';
    const bool isDone =
        !marker.needsBlank && statement[marker.at + 1] != '0' && marker.number == static_cast<int>(k);
    if (isDone) continue;
    text.append(statement, copied, marker.at - copied).append(marker.needsBlank ? " $" : "$");
    text += std::to_string(k);
    copied = marker.at + marker.length;
  }
  if (copied == 0) return statement;
  return text.append(statement, copied);
}

}  // namespace

std::size_t MarkedStatement::IndexOf(int number) const {
  const auto usual = static_cast<std::size_t>(number) - 1;  // in nearly all statements they are 1, 2, ...
  if (usual < numbers.size() && numbers[usual] == number) return usual;
  const auto found = std::lower_bound(numbers.begin(), numbers.end(), number);
  const bool exists = found != numbers.end() && *found == number;
  return exists ? static_cast<std::size_t>(found - numbers.begin()) : numbers.size();
}

MarkedStatement ReplaceMarkers(std::wstring_view wide) {
  std::string statement = sys::ToUtf8(wide);
  const std::vector<Marker> markers = FindMarkers(statement);
  MarkedStatement marked;
  std::vector<int>& numbers = marked.numbers;
  std::unordered_map<std::string, std::size_t> indexOfNamed;
  for (const Marker& marker : markers) {
    if (marker.number >= 0) {
      numbers.push_back(marker.number);
      continue;
    }
    const std::string name(NameOf(marker, statement));
    if (indexOfNamed.try_emplace(name, marked.named.size()).second) {
      marked.named.push_back(sys::FromUtf8(name));
    }
  }
  if (!std::is_sorted(numbers.begin(), numbers.end())) std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());

  const auto indexOf = [&](const Marker& marker, std::string_view text) {
    if (marker.number >= 0) return marked.IndexOf(marker.number);
    return numbers.size() + indexOfNamed.at(std::string(NameOf(marker, text)));
  };
  marked.text = WithDollars(std::move(statement), markers, indexOf);
  return marked;
}

}  // namespace pq
