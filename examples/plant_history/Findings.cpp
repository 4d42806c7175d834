#include "Findings.h"

#include <iostream>

#include "Text.h"

namespace plant {
namespace {

constexpr std::uint64_t kShown = 5;

}  // namespace

void Findings::Add(const std::string& what) {
  ++stage_.mismatches;
  if (++count_ > kShown) return;
  stage_.terminal.ClearDrawing();
  std::cerr << "plant_history: " << what << '\n';
}

void Findings::Tell(const std::string& thing, const std::string& as) {
  std::string verdict = "every " + thing + " is in the database " + as;
  if (count_ == 1) verdict = "1 " + thing + " is not " + as;
  if (count_ > 1) verdict = FormatCount(count_) + ' ' + thing + "s are not " + as;
  stage_.terminal.Fact("compared", verdict);
}

}  // namespace plant
