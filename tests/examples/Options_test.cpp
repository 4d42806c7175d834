#include "Options.h"

#include <gtest/gtest.h>

#include "platform/Process.h"

#include <cstdlib>
#include <vector>

namespace plant {
namespace {

Options Parse(const std::vector<std::string>& arguments) { return ParseOptions(arguments); }

std::string ErrorOf(const std::vector<std::string>& arguments) {
  try {
    Parse(arguments);
    return "nothing";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(Options, HaveDefaults) {
  platform::SetVariable("PGPASSWORD", nullptr);
  const Options options = Parse({"a.csv"});
  EXPECT_EQ(options.file, "a.csv");
  EXPECT_EQ(options.zone, "UTC");
  EXPECT_EQ(options.host, "127.0.0.1");
  EXPECT_EQ(options.port, 5432);
  EXPECT_EQ(options.password, "");
  EXPECT_EQ(options.retention_days, 30);
}

TEST(Options, StandBeforeAndBehindTheFile) {
  const Options options = Parse({"--zone", "Asia/Tokyo", "a.csv", "--port", "6000", "--host", "::1",
                                 "--database", "d", "--user", "u", "--password", "p", "--retention", "0"});
  EXPECT_EQ(options.file, "a.csv");
  EXPECT_EQ(options.zone, "Asia/Tokyo");
  EXPECT_EQ(options.host, "::1");
  EXPECT_EQ(options.port, 6000);
  EXPECT_EQ(options.database, "d");
  EXPECT_EQ(options.user, "u");
  EXPECT_EQ(options.password, "p");
  EXPECT_EQ(options.retention_days, 0);
}

TEST(Options, TakeThePasswordFromTheEnvironment) {
  platform::SetVariable("PGPASSWORD", "secret");
  EXPECT_EQ(Parse({"a.csv"}).password, "secret");
  EXPECT_EQ(Parse({"a.csv", "--password", "other"}).password, "other");
  platform::SetVariable("PGPASSWORD", nullptr);
}

TEST(Options, SayWhatIsWrong) {
  EXPECT_EQ(ErrorOf({}), "needs a file; --help tells more");
  EXPECT_EQ(ErrorOf({"--zone", "UTC"}), "needs a file; --help tells more");
  EXPECT_EQ(ErrorOf({"a.csv", "b.csv"}), "takes one file, not also \"b.csv\"");
  EXPECT_EQ(ErrorOf({"a.csv", "--zone"}), "--zone needs a value");
  EXPECT_EQ(ErrorOf({"a.csv", "--colour", "red"}), "there is no option --colour");
  EXPECT_EQ(ErrorOf({"a.csv", "--port", "0"}), "--port takes a number from 1 to 65535, not \"0\"");
  EXPECT_EQ(ErrorOf({"a.csv", "--port", "5432x"}), "--port takes a number from 1 to 65535, not \"5432x\"");
  EXPECT_EQ(ErrorOf({"a.csv", "--retention", "-1"}),
            "--retention takes a number from 0 to 36500, not \"-1\"");
  EXPECT_EQ(ErrorOf({"--help"}), "nothing");
  EXPECT_NE(std::string(Usage()).find("--zone ZONE"), std::string::npos);
}

}  // namespace
}  // namespace plant
