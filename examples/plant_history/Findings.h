#pragma once

#include <cstdint>
#include <string>

#include "Stage.h"

namespace plant {

// Where what an act reads back differs from what it wrote. The first few are told, all are counted.
class Findings {
 public:
  explicit Findings(Stage& stage) : stage_(stage) {}

  void Add(const std::string& what);

  // Says how the comparison of such things ended, as in "every sample is in the database as in the file".
  void Tell(const std::string& thing, const std::string& as);

 private:
  Stage& stage_;
  std::uint64_t count_ = 0;
};

}  // namespace plant
