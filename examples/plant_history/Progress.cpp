#include "Progress.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Text.h"

namespace plant {
namespace {

constexpr std::array<const char*, 8> kEighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};

constexpr std::size_t kStepCells = 11;
constexpr std::size_t kRowsCells = 11;
constexpr std::size_t kRateCells = 9;
constexpr std::size_t kFigureCells = 66;  // all that stands beside the bar, to "59 min 59 s left"

}  // namespace

std::string Bar(double share, std::size_t cells, const char* rest) {
  const auto eighths = static_cast<std::size_t>(
      std::lround(std::clamp(share, 0.0, 1.0) * static_cast<double>(cells) * kEighths.size()));
  const std::size_t full = eighths / kEighths.size();
  const std::string part = kEighths[eighths % kEighths.size()];
  std::string bar;
  for (std::size_t i = 0; i < full; ++i) bar += "█";
  bar += part;
  for (std::size_t i = full + (part.empty() ? 0 : 1); i < cells; ++i) bar += rest;
  return bar;
}

Progress::Progress(Terminal& terminal, std::string step, std::uint64_t bytes)
    : terminal_(terminal), step_(std::move(step)), bytes_(std::max<std::uint64_t>(bytes, 1)) {
  Show(0, 0, 0);
}

double Progress::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::Show(std::uint64_t bytes_done, std::uint64_t rows, std::uint64_t samples) {
  if (!terminal_.interactive()) return;
  const double seconds = Seconds();
  const double share = std::min(1.0, static_cast<double>(bytes_done) / static_cast<double>(bytes_));
  std::string figures = AlignRight(FormatCount(rows), kRowsCells) + " rows";
  if (samples != 0 && seconds > 0) {
    const double rate = static_cast<double>(samples) / seconds;
    figures += AlignRight(FormatCount(static_cast<std::uint64_t>(rate)), kRateCells) + " samples/s  " +
               FormatDuration(seconds * (1 - share) / share) + " left";
  }
  terminal_.Redraw(' ' + terminal_.Bold(AlignLeft(step_, kStepCells)) +
                   terminal_.Accent(Bar(share, terminal_.width() - kFigureCells, "░")) + figures);
}

}  // namespace plant
