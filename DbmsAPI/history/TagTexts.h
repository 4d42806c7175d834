#pragma once

#include <string>
#include <unordered_map>
#include <vector>

// The COPY texts of the tag names of one batch, from a cache that outlives it.
//
// Hashing a name takes longer than making a line. Samples mostly come either with the same tag once more, or
// with the tags of a cycle in the order in which the batch named them first, some left out: that is tried
// before the cache is asked, first what held the last time.
class TagTexts {
 public:
  using Cache = std::unordered_map<std::wstring, std::string>;

  explicit TagTexts(Cache& cache) : cache_(cache) {}

  // Valid as long as the cache is.
  const std::string& Of(const std::wstring& tagName) {
    if (!expected_ || expected_->first != tagName) return Find(tagName);
    last_ = expected_;
    if (!repeating_) Expect(place_ + 1);
    return last_->second;
  }

 private:
  using Entry = Cache::value_type;

  // Expects what stands at a place of the order next; behind its end the first again.
  void Expect(std::size_t place) {
    place_ = place < order_.size() ? place : 0;
    expected_ = order_[place_];
  }

  const std::string& Find(const std::wstring& tagName);
  bool FindAhead(const std::wstring& tagName);
  const Entry* LookUp(const std::wstring& tagName);
  std::size_t PlaceOf(const Entry* entry);

  Cache& cache_;
  const Entry* last_ = nullptr;
  const Entry* expected_ = nullptr;
  bool repeating_ = false;           // the last one is expected again
  std::vector<const Entry*> order_;  // of the first cycle
  std::size_t place_ = 0;            // in that order, of what comes next unless repeating
  bool firstCycle_ = true;           // the order is still being learnt
  std::unordered_map<const Entry*, std::size_t> places_;  // in the order; made when samples leave it
};
