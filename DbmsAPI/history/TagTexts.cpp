#include "DbmsAPI/history/TagTexts.h"

#include "DbmsAPI/history/CopyText.h"

namespace {

constexpr int kMostLeftOut = 2;  // tags in a row

}  // namespace

const std::string& TagTexts::Find(const std::wstring& tagName) {
  const bool again = last_ && !repeating_ && last_->entry->first == tagName;
  if (!again) {
    Tag* found = FindAhead(tagName);
    if (!found) {
      found = LookUp(tagName);
      if (last_) last_->next = found;
    }
    last_ = found;
  }
  repeating_ = again;
  expected_ = again ? last_ : last_->next;
  return last_->entry->second;
}

// Follows the order from the last tag on; null when the name is not near.
TagTexts::Tag* TagTexts::FindAhead(const std::wstring& tagName) {
  Tag* tag = last_ ? last_->next : nullptr;
  for (int leftOut = 0; tag && leftOut <= kMostLeftOut; ++leftOut, tag = tag->next) {
    if (tag->entry->first == tagName) return tag;
  }
  return nullptr;
}

TagTexts::Tag* TagTexts::LookUp(const std::wstring& tagName) {
  auto entry = cache_.find(tagName);
  if (entry == cache_.end()) entry = cache_.emplace(tagName, CopyName(tagName)).first;
  Tag& tag = tags_[&*entry];
  tag.entry = &*entry;
  return &tag;
}
