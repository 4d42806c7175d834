#include "TagTexts.h"

#include <algorithm>

#include "CopyText.h"

namespace {

constexpr std::size_t kLookAhead = 3;  // places that are tried: two tags in a row may be left out

}  // namespace

const TagTexts::Entry* TagTexts::Find(const std::wstring& tagName) {
  std::size_t place = expected_;
  for (std::size_t tried = 0; tried < std::min(kLookAhead, order_.size()); ++tried, ++place) {
    if (place >= order_.size()) place = 0;
    if (order_[place]->first != tagName) continue;
    firstCycle_ = false;
    expected_ = place + 1;
    return order_[place];
  }
  const Entry* const entry = LookUp(tagName);
  expected_ = PlaceOf(entry) + 1;
  return entry;
}

const TagTexts::Entry* TagTexts::LookUp(const std::wstring& tagName) {
  const auto [entry, isNew] = cache_.try_emplace(tagName);
  if (isNew) entry->second = CopyName(tagName);
  return &*entry;
}

// Puts a tag that has no place yet at the end of the order. In the first cycle none is expected to have one.
std::size_t TagTexts::PlaceOf(const Entry* entry) {
  if (!firstCycle_) {
    if (places_.empty()) {
      for (std::size_t place = 0; place < order_.size(); ++place) places_.emplace(order_[place], place);
    }
    const auto [place, isNew] = places_.emplace(entry, order_.size());
    if (!isNew) return place->second;
  }
  order_.push_back(entry);
  // More places than tags: they do not come in cycles.
  if (order_.size() > cache_.size()) firstCycle_ = false;
  return order_.size() - 1;
}
