#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/frame/Timescale.h"

namespace {

// Chunks that ended over a day ago and are not compressed, of hypertables that have compression set up.
constexpr wchar_t kGetUncompressedChunks[] =
    L"select hypertable_name, chunk_schema||'.'||chunk_name as chunk from timescaledb_information.chunks "
    L"where is_compressed is false and range_end + interval '1 day' < now() and hypertable_name in "
    L"(select table_name from _timescaledb_catalog.hypertable where compression_state = 1) "
    L"order by hypertable_name";

// {}: chunk.
constexpr wchar_t kConvertToColumnstore[] = L"CALL convert_to_columnstore('{}')";
constexpr wchar_t kCompressChunk[] = L"SELECT compress_chunk('{}')";

}  // namespace

bool TirelScada::GetUncompressedChunkMap(
    std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks) {
  return Run([&](SACommand& command) {
    Execute(command, kGetUncompressedChunks);
    FetchTextsByKey(command, chunks);
    // Kept: what the caller left in the map counts too.
    return !chunks.empty();
  });
}

bool TirelScada::CompressChunk(const wchar_t* chunk) {
  return Run([&](SACommand& command) {
    Require({{L"chunk", chunk}});
    Execute(command, TimescaleVersion >= kColumnstoreVersion ? Format(kConvertToColumnstore, chunk)
                                                             : Format(kCompressChunk, chunk));
  });
}
