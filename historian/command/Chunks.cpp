// historian chunks: lists the chunks that are due for compression, and compresses them.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Progress.h"
#include "Subcommand.h"
#include "Table.h"
#include "Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

struct ChunksOptions {
  CommonOptions common;
  bool compress = false;
};

struct Chunk {
  std::string table, name;
  std::uint64_t bytes = 0;
};

// :1 the chunk.
constexpr wchar_t kSize[] = L"select pg_total_relation_size(:1::regclass)";

std::uint64_t SizeOf(Server& server, const std::string& chunk) {
  const auto bind = [&](SACommand& command) { command << SAString(sys::FromUtf8(chunk)); };
  std::uint64_t bytes = 0;
  server.Query(kSize, bind,
               [&](SACommand& row) { bytes = static_cast<std::uint64_t>(row.Field(1).asInt64()); });
  return bytes;
}

// Only this type of Dbms compresses chunks.
std::vector<Chunk> UncompressedChunks(Server& server, Dbms& dbms) {
  std::unordered_map<std::wstring, std::vector<std::wstring>> map;
  // Returns false for an empty map, too; only a failure leaves a text.
  if (!dbms.GetUncompressedChunkMap(map) && *dbms.GetLastError() != 0) {
    throw Failure("cannot list chunks: " + sys::ToUtf8(dbms.GetLastError()));
  }
  std::vector<Chunk> chunks;
  for (const auto& [table, names] : map) {
    for (const auto& name : names) {
      chunks.push_back({sys::ToUtf8(table), sys::ToUtf8(name), SizeOf(server, sys::ToUtf8(name))});
    }
  }
  std::sort(chunks.begin(), chunks.end(), [](const Chunk& a, const Chunk& b) {
    return std::tie(a.table, a.name) < std::tie(b.table, b.name);
  });
  return chunks;
}

void Compress(Dbms& dbms, const std::vector<Chunk>& chunks, Terminal& terminal) {
  Progress progress(terminal, "compressing", "chunks");
  std::size_t done = 0;
  for (const Chunk& chunk : chunks) {
    try {
      ThrowIfInterrupted();
    } catch (const Interrupted&) {
      throw Interrupted("interrupted: " + Count(done, "chunk") + " of " + FormatCount(chunks.size()) +
                        " compressed");
    }
    progress.Show(static_cast<double>(done) / static_cast<double>(chunks.size()), done);
    if (!dbms.CompressChunk(sys::FromUtf8(chunk.name).c_str())) {
      throw Failure("cannot compress " + chunk.name + ": " + sys::ToUtf8(dbms.GetLastError()));
    }
    ++done;
  }
}

int Run(const ChunksOptions& options, Terminal& terminal) {
  Server server(options.common.server);
  if (!server.HasTimescale())
    throw Refusal("the database " + server.Name() + " has no TimescaleDB, so it has no chunks");
  const auto dbms = server.Open(DbmsType::TirelScada);
  const std::vector<Chunk> chunks = UncompressedChunks(server, *dbms);
  if (options.compress) Compress(*dbms, chunks, terminal);
  std::uint64_t bytes = 0;
  nlohmann::json list = nlohmann::json::array();
  Table table({{"hypertable", Table::Align::Left}, {"chunk", Table::Align::Left}, {"size"}}, 1);
  for (const Chunk& chunk : chunks) {
    bytes += chunk.bytes;
    list.push_back({{"hypertable", chunk.table}, {"chunk", chunk.name}, {"bytes", chunk.bytes}});
    table.AddRow({chunk.table, chunk.name, FormatBytes(chunk.bytes)});
  }
  if (options.common.json) {
    terminal.Line(
        nlohmann::json{{"compressed", options.compress}, {"bytes", bytes}, {"chunks", list}}.dump(1));
  } else if (chunks.empty()) {
    terminal.Line("no chunk is due for compression");
  } else {
    table.Print(terminal);
    terminal.Line(' ' + Count(chunks.size(), "chunk") + " of " + FormatBytes(bytes) +
                  (options.compress ? " compressed"
                                    : " not compressed though due; historian chunks --compress does it"));
  }
  return kDone;
}

}  // namespace

Subcommand AddChunks(CLI::App& program) {
  auto options = std::make_shared<ChunksOptions>();
  CommandLine command(program, "chunks", "List the chunks that are due for compression, and compress them");
  command.Add("--compress", options->compress, "Compress them one after the other");
  AddCommonOptions(command, options->common, false);
  command.SetExamples(
      "  historian chunks\n"
      "  historian chunks --compress\n"
      "  historian chunks --json");
  return {command.app(), [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
