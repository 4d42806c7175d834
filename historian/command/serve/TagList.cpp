#include "TagList.h"

#include <algorithm>
#include <sstream>

#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr std::chrono::seconds kLeastAge{10};
constexpr int kMostShare = 20;  // reading takes at most 1/20 of the time

// Covers the scripts that tag names use. The C library's function depends on the locale, which a program
// starts without.
wchar_t Lower(wchar_t c) {
  const bool latin = (c >= L'A' && c <= L'Z') || (c >= L'\u00C0' && c <= L'\u00DE' && c != L'\u00D7');
  const bool greek = c >= L'\u0391' && c <= L'\u03A9', cyrillic = c >= L'\u0410' && c <= L'\u042F';
  return latin || greek || cyrillic ? static_cast<wchar_t>(c + 32) : c;
}

std::wstring Folded(const std::string& utf8) {
  std::wstring text = sys::FromUtf8(utf8);
  std::transform(text.begin(), text.end(), text.begin(), Lower);
  return text;
}

}  // namespace

TagList::Tags TagList::Fresh() {
  const std::lock_guard lock(mutex_);
  return tags_ && Clock::now() < stale_from_ ? tags_ : nullptr;
}

TagList::Tags TagList::Get() {
  if (Tags fresh = Fresh()) return fresh;
  std::unique_lock reading(reading_, std::try_to_lock);
  if (!reading) {
    // Another request is reading them. Until it is done, older tags will do.
    {
      const std::lock_guard lock(mutex_);
      if (tags_) return tags_;
    }
    reading.lock();
    if (Tags fresh = Fresh()) return fresh;
  }
  const auto begin = Clock::now();
  Tags read;
  pool_.Run([&](Server& server) {
    server.RequireTable("datalog");
    read = std::make_shared<const std::vector<TagInfo>>(ReadTags(server.dbms()));
  });
  const std::lock_guard lock(mutex_);
  tags_ = read;
  const auto end = Clock::now();
  stale_from_ = end + std::max<Clock::duration>(kLeastAge, kMostShare * (end - begin));
  return read;
}

std::vector<TagInfo> FindTags(const std::vector<TagInfo>& tags, const std::string& text) {
  std::vector<std::wstring> words;
  std::wistringstream stream(Folded(text));
  for (std::wstring word; stream >> word;) words.push_back(word);
  std::vector<TagInfo> first, rest;
  for (const TagInfo& tag : tags) {
    const std::wstring name = Folded(tag.name);
    const auto holds = [&](const std::wstring& word) { return name.find(word) != name.npos; };
    if (!std::all_of(words.begin(), words.end(), holds)) continue;
    (words.empty() || name.starts_with(words[0]) ? first : rest).push_back(tag);
  }
  first.insert(first.end(), rest.begin(), rest.end());
  return first;
}

}  // namespace historian::command
