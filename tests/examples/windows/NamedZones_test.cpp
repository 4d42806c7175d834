#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "Time.h"
#include "Zone.h"

namespace plant {
namespace {

TEST(NamedZones, AreNoneButUtc) {
  EXPECT_NO_THROW(SetZone("UTC"));
  for (const char* name : {"", "Europe/Berlin", "CET-1CEST", "W. Europe Standard Time", "utc"}) {
    EXPECT_THROW(SetZone(name), std::invalid_argument) << name;
  }
}

TEST(NamedZones, AreSaidToHaveASubstitute) {
  EXPECT_EQ(std::string(kZoneHint), "; here are UTC and offsets from it such as +01:00");
}

}  // namespace
}  // namespace plant
