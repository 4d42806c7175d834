#include "historian/command/serve/Parameters.h"

#include <gtest/gtest.h>

#include <functional>

#include "historian/command/Failure.h"
#include "historian/command/serve/Pool.h"
#include "historian/command/serve/Refused.h"
#include "historian/command/serve/Service.h"
#include "historian/command/serve/TagList.h"

namespace historian::command {
namespace {

using Pairs = std::multimap<std::string, std::string>;

httplib::Request With(const Pairs& pairs) {
  httplib::Request request;
  for (const auto& [name, value] : pairs) request.params.emplace(name, value);
  return request;
}

// The status with which an action is refused; 0: it is not refused.
int StatusOf(const Pairs& pairs, const std::function<void(const Parameters&)>& read) {
  const httplib::Request request = With(pairs);
  try {
    read(Parameters(request));
  } catch (const RequestRefused& refused) {
    return refused.status;
  }
  return 0;
}

const auto kTags = [](const Parameters& parameters) { parameters.Tags(); };
const auto kRange = [](const Parameters& parameters) { parameters.Range(); };

TEST(ServeParameters, TakeEachTagOnce) {
  httplib::Request request;
  for (const char* tag : {"B", "A", "B", "100 % \"Ä\" 😀"}) request.params.emplace("tag", tag);
  EXPECT_EQ(Parameters(request).Tags(), (std::vector<std::string>{"B", "A", "100 % \"Ä\" 😀"}));
}

TEST(ServeParameters, RefuseTagsBeyondTheLimits) {
  EXPECT_EQ(StatusOf({}, kTags), 400);
  EXPECT_EQ(StatusOf({}, [](const Parameters& parameters) { parameters.Tags(0); }), 0);
  EXPECT_EQ(StatusOf({{"tag", ""}}, kTags), 400);
  EXPECT_EQ(StatusOf({{"tag", "\xff"}}, kTags), 400);
  EXPECT_EQ(StatusOf({{"tag", std::string("A\0B", 3)}}, kTags), 400);
  EXPECT_EQ(StatusOf({{"tag", std::string(500, 'A')}}, kTags), 0);
  EXPECT_EQ(StatusOf({{"tag", std::string(501, 'A')}}, kTags), 400);
  Pairs tags;
  for (int i = 0; i < 12; ++i) tags.emplace("tag", std::to_string(i));
  EXPECT_EQ(StatusOf(tags, kTags), 0);
  tags.emplace("tag", "12");
  EXPECT_EQ(StatusOf(tags, kTags), 413);
}

TEST(ServeParameters, ReadARange) {
  const httplib::Request request = With({{"from", "-1"}, {"to", "1500"}});
  const TimeRange range = Parameters(request).Range();
  EXPECT_EQ(range.from.time_since_epoch().count(), -1);
  EXPECT_EQ(range.to.time_since_epoch().count(), 1500);
}

TEST(ServeParameters, RefuseRangesBeyondTheLimits) {
  EXPECT_EQ(StatusOf({{"from", "1"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "1"}, {"to", "1"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "2"}, {"to", "1"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "0x1"}, {"to", "5"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "1.5"}, {"to", "5"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "0"}, {"to", "99999999999999999999"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "0"}, {"to", "253402300800000"}}, kRange), 400);
  EXPECT_EQ(StatusOf({{"from", "0"}, {"to", "1577847600000"}}, kRange), 0);
  EXPECT_EQ(StatusOf({{"from", "0"}, {"to", "1577847600001"}}, kRange), 413);
}

TEST(ServeParameters, RefuseNumbersBeyondTheLimits) {
  const auto number = [](const Parameters& parameters) { parameters.Number("buckets", 1, 4000, 1000); };
  EXPECT_EQ(StatusOf({}, number), 0);
  EXPECT_EQ(StatusOf({{"buckets", "4000"}}, number), 0);
  EXPECT_EQ(StatusOf({{"buckets", "0"}}, number), 400);
  EXPECT_EQ(StatusOf({{"buckets", "4001"}}, number), 400);
  EXPECT_EQ(StatusOf({{"buckets", ""}}, number), 400);
}

std::string Found(const std::vector<std::string>& names, const std::string& text) {
  std::vector<TagInfo> tags;
  for (const std::string& name : names) tags.push_back({name, {}, {}, {}});
  std::string found;
  for (const TagInfo& tag : FindTags(tags, text)) found += tag.name + ' ';
  return found;
}

TEST(ServeTags, AreFoundByAnyPartOfTheirNames) {
  const std::vector<std::string> names = {"A.PUMP", "BOILER.TEMP", "PUMP.SPEED", "PUMP.TEMP", "ÖL"};
  EXPECT_EQ(Found(names, ""), "A.PUMP BOILER.TEMP PUMP.SPEED PUMP.TEMP ÖL ");
  EXPECT_EQ(Found(names, "pump"), "PUMP.SPEED PUMP.TEMP A.PUMP ");
  EXPECT_EQ(Found(names, " temp  PUMP "), "PUMP.TEMP ");
  EXPECT_EQ(Found(names, "%"), "");
  EXPECT_EQ(Found({"ÄÖÜß", "ΩΣ", "Насос"}, "äöüß"), "ÄÖÜß ");
  EXPECT_EQ(Found({"ÄÖÜß", "ΩΣ", "Насос"}, "ωσ"), "ΩΣ ");
  EXPECT_EQ(Found({"ÄÖÜß", "ΩΣ", "Насос"}, "НАСОС"), "Насос ");
}

TEST(ServeAddress, IsReadInItsForms) {
  EXPECT_EQ(ReadAddress("").Url(), "http://127.0.0.1:8470/");
  EXPECT_EQ(ReadAddress(":9000").Url(), "http://127.0.0.1:9000/");
  EXPECT_EQ(ReadAddress("10.0.0.5").Url(), "http://10.0.0.5:8470/");
  EXPECT_EQ(ReadAddress("localhost:0").Url(), "http://localhost:0/");
  EXPECT_EQ(ReadAddress("[::1]:9000").Url(), "http://[::1]:9000/");
  for (const char* loopback : {"", "127.3.2.1:80", "localhost", "[::1]"})
    EXPECT_TRUE(ReadAddress(loopback).loopback()) << loopback;
  for (const char* other : {"0.0.0.0", "[::]", "10.0.0.5:8470", "plant.example"})
    EXPECT_FALSE(ReadAddress(other).loopback()) << other;
}

TEST(ServeAddress, IsRefusedWhereItCannotBeOne) {
  for (const char* text :
       {":", ":x", ":65536", ":-1", "::1", "[::1]9000", "[::1", "127.0.0.1:80:90", "a:80x"})
    EXPECT_THROW(ReadAddress(text), Refusal) << text;
}

TEST(ServePool, OpensReadOnlySessions) {
  EXPECT_EQ(ReadOnly({"", 0, "plant", ""}).database,
            "plant;-c default_transaction_read_only=on -c statement_timeout=30s");
  EXPECT_THROW(ReadOnly({"", 0, "dbname=plant options='-c search_path=x'", ""}), Refusal);
}

TEST(ServePool, DistinguishesAServerThatIsAwayFromOneThatRefuses) {
  for (const char* away : {"", "08006", "57P01", "57P03", "53300"}) EXPECT_TRUE(SaysServerAway(away)) << away;
  for (const char* refuses : {"57014", "42P01", "25006", "53200"})
    EXPECT_FALSE(SaysServerAway(refuses)) << refuses;
}

}  // namespace
}  // namespace historian::command
