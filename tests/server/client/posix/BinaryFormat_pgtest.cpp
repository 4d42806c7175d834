// The zones of process and session are compared by their names.

#include "server/Zone.h"
#include "server/client/BinaryFormatTest.h"

namespace {

TEST_F(BinaryFormat, IsAskedForTimesInTheZoneOfTheProcess) {
  const std::wstring query = L"select timestamptz '2024-02-29 20:00:00+00'";
  for (const char* zone : {"Asia/Kolkata", ":Asia/Kolkata"}) {
    const Environment process("TZ", zone);
    Ask(L"set time zone 'Asia/Kolkata'");
    EXPECT_EQ(Sent(query, true, L"2024-03-01 01:30:00+05:30"), kInBinary) << zone;
  }
  const Environment process("TZ", "Europe/Nowhere");
  Ask(L"set time zone 'Asia/Kolkata'");
  EXPECT_EQ(Sent(query, true, L"2024-03-01 01:30:00+05:30"), kInText);
}

}  // namespace
