#include "DbmsAPI/history/TagNameCache.h"

#include "DbmsAPI/history/CopyText.h"

TagNameCache::Entry* TagNameCache::LookUp(const std::wstring& tagName) {
  auto found = tags_.find(tagName);
  if (found == tags_.end()) found = tags_.emplace(tagName, Tag{EscapeForCopy(tagName), nullptr}).first;
  if (last_) last_->second.next = &*found;
  return &*found;
}
