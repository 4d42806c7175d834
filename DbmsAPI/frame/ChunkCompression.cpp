#include "../TirelScada.h"

bool TirelScada::GetUncompressedChunkMap(std::unordered_map<std::wstring, std::vector<std::wstring>>&) {
  return Pending(L"GetUncompressedChunkMap");
}

bool TirelScada::CompressChunk(const wchar_t*) { return Pending(L"CompressChunk"); }
