#include "TagTexts.h"

#include <algorithm>

#include "CopyText.h"

namespace {

constexpr std::size_t kLookAhead = 2;  // tags in a row that may be left out

}  // namespace

const std::string& TagTexts::Find(const std::wstring& tagName) {
  if (last_ && !repeating_ && last_->first == tagName) {
    repeating_ = true;
    expected_ = last_;
    return last_->second;
  }
  if (!FindAhead(tagName)) {
    last_ = LookUp(tagName);
    Expect(PlaceOf(last_) + 1);
  }
  repeating_ = false;
  return last_->second;
}

// Tries the next places of the order; in the first cycle only whether the second begins.
bool TagTexts::FindAhead(const std::wstring& tagName) {
  const std::size_t most = std::min(firstCycle_ ? 1 : 1 + kLookAhead, order_.size());
  std::size_t place = place_;
  for (std::size_t tried = 0; tried < most; ++tried, ++place) {
    if (place >= order_.size()) place = 0;
    if (order_[place]->first != tagName) continue;
    firstCycle_ = false;
    last_ = order_[place];
    Expect(place + 1);
    return true;
  }
  return false;
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
