#include "historian/recorder/Failure.h"

#include <gtest/gtest.h>

#include <vector>

namespace historian::recorder {
namespace {

struct Case {
  const char* sqlState;
  Verdict verdict;
};

TEST(Failure, IsClassifiedBySqlState) {
  const Case cases[] = {
      {"", Verdict::TryLater},             // no answer
      {"08006", Verdict::TryLater},        // connection failure
      {"53100", Verdict::TryLater},        // disk full
      {"53300", Verdict::TryLater},        // too many connections
      {"57P01", Verdict::TryLater},        // administrator's shutdown
      {"57P03", Verdict::TryLater},        // starting up
      {"57014", Verdict::TryLater},        // statement timeout
      {"40001", Verdict::TryLater},        // serialization failure
      {"40P01", Verdict::TryLater},        // deadlock
      {"55P03", Verdict::TryLater},        // lock not available
      {"55006", Verdict::TryLater},        // object in use
      {"58030", Verdict::TryLater},        // input/output error
      {"XX000", Verdict::TryLater},        // internal error
      {"99999", Verdict::TryLater},        // unknown
      {"25006", Verdict::WrongServer},     // read-only transaction
      {"21000", Verdict::RefusedData},     // cardinality
      {"22021", Verdict::RefusedData},     // NUL in a text
      {"22008", Verdict::RefusedData},     // time out of range
      {"23502", Verdict::RefusedData},     // NULL
      {"23514", Verdict::RefusedData},     // check
      {"2F002", Verdict::RefusedData},     // SQL routine
      {"44000", Verdict::RefusedData},     // check option of a view
      {"54000", Verdict::RefusedData},     // too long for an index
      {"P0001", Verdict::RefusedData},     // a trigger's own
      {"23505", Verdict::Duplicate},       // key
      {"28000", Verdict::RefusedProgram},  // role
      {"28P01", Verdict::RefusedProgram},  // password
      {"42501", Verdict::RefusedProgram},  // right
      {"42P01", Verdict::RefusedProgram},  // table
      {"3D000", Verdict::RefusedProgram},  // database
      {"3F000", Verdict::RefusedProgram},  // schema
      {"0A000", Verdict::RefusedProgram},  // not supported
      {"55000", Verdict::RefusedProgram},  // state of an object
      {"TS001", Verdict::RefusedProgram},  // no hypertable
  };
  for (const Case& one : cases) EXPECT_EQ(Classify(one.sqlState), one.verdict) << one.sqlState;
}

TEST(Backoff, DoublesUpToTheLongestAndStartsOver) {
  using std::chrono::milliseconds;
  Backoff backoff(milliseconds(250), milliseconds(15000));
  std::vector<milliseconds::rep> pauses;
  for (int i = 0; i < 8; ++i) pauses.push_back(backoff.Next(0).count());
  EXPECT_EQ(pauses, (std::vector<milliseconds::rep>{250, 500, 1000, 2000, 4000, 8000, 15000, 15000}));
  backoff.Reset();
  EXPECT_EQ(backoff.Next(0).count(), 250);
}

TEST(Backoff, IsShortenedByUpToHalf) {
  using std::chrono::milliseconds;
  EXPECT_EQ(Backoff(milliseconds(1000), milliseconds(1000)).Next(1).count(), 500);
  EXPECT_EQ(Backoff(milliseconds(1000), milliseconds(1000)).Next(0.5).count(), 750);
}

}  // namespace
}  // namespace historian::recorder
