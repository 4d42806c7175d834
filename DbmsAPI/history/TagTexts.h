#pragma once

#include <string>
#include <unordered_map>

// The COPY texts of tag names, from a cache.
//
// Hashing a name takes longer than making a line, so the next tag is foretold and only compared. Samples
// mostly come either with the same tag once more, or with the tags of a cycle in their order, some left out,
// and so from batch to batch: each tag knows which one followed it, and what held the last time is tried
// first.
class TagTexts {
 public:
  using Cache = std::unordered_map<std::wstring, std::string>;

  explicit TagTexts(Cache& cache) : cache_(cache) {}

  // Valid as long as the cache is.
  const std::string& Of(const std::wstring& tagName) {
    if (!expected_ || expected_->entry->first != tagName) return Find(tagName);
    last_ = expected_;
    if (!repeating_) expected_ = last_->next;
    return last_->entry->second;
  }

 private:
  using Entry = Cache::value_type;

  struct Tag {
    const Entry* entry = nullptr;
    Tag* next = nullptr;  // the other tag that followed it, null until one has
  };

  const std::string& Find(const std::wstring& tagName);
  Tag* FindAhead(const std::wstring& tagName);
  Tag* LookUp(const std::wstring& tagName);

  Cache& cache_;
  std::unordered_map<const Entry*, Tag> tags_;
  Tag* last_ = nullptr;
  Tag* expected_ = nullptr;
  bool repeating_ = false;  // the last one came twice, and is expected again
};
