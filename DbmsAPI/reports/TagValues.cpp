#include "../TirelScada.h"

bool TirelScada::CreateTagValueTable(const wchar_t*) { return Pending(L"CreateTagValueTable"); }

bool TirelScada::PurgeTagValueTable(const wchar_t*, std::int64_t) { return Pending(L"PurgeTagValueTable"); }

bool TirelScada::InsertTagValueQueue(const wchar_t*, std::deque<std::vector<TagValueRecord>>&) {
  return Pending(L"InsertTagValueQueue");
}

bool TirelScada::InsertTagValues(const wchar_t*, const std::vector<TagValueRecord>&) {
  return Pending(L"InsertTagValues");
}
