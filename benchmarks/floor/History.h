#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"

// Tag history by hand: a program that does nothing but this, as one writes it with libpq.

namespace hand {

using History = std::unordered_map<std::wstring, std::vector<LogPoint>>;

// The text of a batch, cut as the library cuts it: made once, before the clock runs.
std::vector<std::string> CopyPieces(const std::vector<LogSample>& samples);

// Sends the statements of InsertLogData with that text.
void InsertHistory(PGconn* link, const std::vector<std::string>& pieces);

// Reads the rows of GetLogData into the same containers: row by row, or the whole result first.
void ReadHistoryByRow(PGconn* link, std::int64_t start, std::int64_t end, History& data);
void ReadHistoryWhole(PGconn* link, std::int64_t start, std::int64_t end, History& data);

}  // namespace hand
