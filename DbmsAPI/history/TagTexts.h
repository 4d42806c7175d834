#pragma once

#include <string>
#include <unordered_map>
#include <vector>

// The COPY texts of the tag names of one batch, from a cache that outlives it.
//
// Hashing a name takes longer than making a line. Samples mostly come either with the same tag once more, or
// with the tags of a cycle in the order in which the batch named them first, some left out: that is tried
// before the cache is asked.
class TagTexts {
 public:
  using Cache = std::unordered_map<std::wstring, std::string>;

  explicit TagTexts(Cache& cache) : cache_(cache) {}

  // Valid as long as the cache is.
  const std::string& Of(const std::wstring& tagName) {
    if (!last_ || last_->first != tagName) last_ = Find(tagName);
    return last_->second;
  }

 private:
  using Entry = Cache::value_type;

  const Entry* Find(const std::wstring& tagName);
  const Entry* LookUp(const std::wstring& tagName);
  std::size_t PlaceOf(const Entry* entry);

  Cache& cache_;
  const Entry* last_ = nullptr;
  std::vector<const Entry*> order_;                       // of the first cycle
  std::size_t expected_ = 0;                              // place in that order, or its end: the first again
  bool firstCycle_ = true;                                // the order is still being learnt
  std::unordered_map<const Entry*, std::size_t> places_;  // in the order; made when samples leave it
};
