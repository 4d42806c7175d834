#include "Progress.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Text.h"

namespace historian::command {
namespace {

constexpr std::array<const char*, 8> kEighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
constexpr std::chrono::milliseconds kBetweenDrawings(100);
constexpr std::size_t kStepCells = 14;
constexpr std::size_t kLeastBar = 8;

}  // namespace

std::string Bar(double share, std::size_t cells, const char* rest) {
  const auto eighths = static_cast<std::size_t>(
      std::lround(std::clamp(share, 0.0, 1.0) * static_cast<double>(cells) * kEighths.size()));
  const std::size_t full = eighths / kEighths.size();
  const std::string part = kEighths[eighths % kEighths.size()];
  return Repeat(full, "█") + part + Repeat(cells - full - (part.empty() ? 0 : 1), rest);
}

Progress::Progress(Terminal& terminal, std::string step, std::string noun)
    : terminal_(terminal), step_(std::move(step)), noun_(std::move(noun)) {}

double Progress::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::Show(double share, std::uint64_t count) {
  const auto now = std::chrono::steady_clock::now();
  if (!terminal_.interactive() || now - drawn_ < kBetweenDrawings) return;
  drawn_ = now;
  const double seconds = Seconds();
  const auto rate = static_cast<std::uint64_t>(seconds > 0 ? static_cast<double>(count) / seconds : 0);
  std::string figures = "  " + FormatCount(count) + ' ' + noun_ + "  " + FormatCount(rate) + "/s";
  if (share > 0) figures += "  " + FormatDuration(seconds * (1 - share) / share) + " left";
  const std::size_t taken = 1 + kStepCells + DisplayWidth(figures) + 1;
  const std::size_t bar = terminal_.width() - std::min(taken, terminal_.width() - kLeastBar);
  terminal_.Redraw(' ' + terminal_.Bold(AlignLeft(step_, kStepCells)) +
                   terminal_.Accent(Bar(share, bar, "░")) + figures);
}

}  // namespace historian::command
