#pragma once

#include <string>
#include <unordered_map>

#include "DbmsAPI/history/CopyText.h"

// Tag names as COPY takes them. Hashing a name costs more than formatting its line. Since the tags of a plant
// come in the same order in every cycle, each tag predicts the next one, and only a wrong prediction needs a
// lookup.
class TagNameCache {
 public:
  // The name in UTF-8, escaped. Valid as long as the cache.
  const std::string& Escaped(const std::wstring& tagName) {
    Entry* entry = last_ ? last_->second.next : nullptr;
    if (!entry || entry->first != tagName) entry = LookUp(tagName);
    last_ = entry;
    return entry->second.escaped;
  }

 private:
  struct Tag;
  using Entry = std::pair<const std::wstring, Tag>;
  struct Tag {
    std::string escaped;
    Entry* next = nullptr;  // the tag that followed this one last time
  };

  Entry* LookUp(const std::wstring& tagName) {
    auto found = tags_.find(tagName);
    if (found == tags_.end()) found = tags_.emplace(tagName, Tag{EscapeForCopy(tagName)}).first;
    if (last_) last_->second.next = &*found;
    return &*found;
  }

  std::unordered_map<std::wstring, Tag> tags_;
  Entry* last_ = nullptr;
};
