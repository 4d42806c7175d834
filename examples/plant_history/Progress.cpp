#include "Progress.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Text.h"

namespace plant {
namespace {

constexpr std::array<const char*, 8> kEighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
constexpr std::size_t kFigures = 60;  // cells beside the bar

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
  std::string figures = AlignRight(FormatCount(static_cast<std::uint64_t>(100 * share)), 4) + " %" +
                        AlignRight(FormatCount(rows), 12) + " rows";
  if (samples != 0 && seconds > 0) {
    const double rate = static_cast<double>(samples) / seconds;
    figures += AlignRight(FormatCount(static_cast<std::uint64_t>(rate)), 11) + " samples/s  " +
               FormatDuration(seconds * (1 - share) / share) + " left";
  }
  const std::size_t cells = terminal_.width() - std::min(terminal_.width() - 8, kFigures + 12);
  terminal_.Redraw(' ' + terminal_.Bold(AlignLeft(step_, 11)) + terminal_.Accent(Bar(share, cells, "░")) +
                   figures);
}

}  // namespace plant
