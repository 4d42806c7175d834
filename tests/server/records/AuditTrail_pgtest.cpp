#include "server/DbmsTest.h"

namespace {

using Lines = std::vector<std::string>;

const Lines kCurrentLayout = {"time|timestamp with time zone|NO",
                              "ip_addr|text|NO",
                              "user_id|text|NO",
                              "message|text|NO",
                              "group_name|text|YES",
                              "tag_name|text|YES",
                              "value|text|YES",
                              "comment|text|YES"};

constexpr char kCurrentTable[] =
    "create table audit_table (time timestamptz not null, ip_addr text not null, user_id text not null, "
    "message text not null, group_name text, tag_name text, value text, comment text, "
    "primary key (time, ip_addr, message))";

// The table of the first release.
constexpr char kFirstTable[] =
    "create table audit_table (time timestamp not null, operator_node text not null, operator text not null, "
    "type int not null, name text not null, group_name text not null, tag_name text, value text not null, "
    "comment text not null, primary key (time, operator_node, name))";

class AuditTrail : public DbmsTest {
 protected:
  Lines Layout() {
    return Rows(
        "select column_name, data_type, is_nullable from information_schema.columns "
        "where table_name = 'audit_table' order by ordinal_position");
  }
  std::string PrimaryKey() {
    return Value(
        "select string_agg(attname, ',' order by place) from pg_index, unnest(indkey) with ordinality k(num, place), "
        "pg_attribute where indrelid = 'audit_table'::regclass and indisprimary and attrelid = indrelid "
        "and attnum = num");
  }
  // A text that changes whenever the table is altered.
  Lines Fingerprint() {
    return Rows(
        "select attnum, xmin from pg_attribute where attrelid = 'audit_table'::regclass order by attnum");
  }
  void Create() {
    const auto dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
  }
};

TEST_F(AuditTrail, IsMadeInTheCurrentLayout) {
  Create();
  EXPECT_EQ(Layout(), kCurrentLayout);
  EXPECT_EQ(PrimaryKey(), "time,ip_addr,message");
}

TEST_F(AuditTrail, ASecondCallChangesNothing) {
  Create();
  Run("insert into audit_table values (now(), '10.0.0.1', 'op', 'started')");
  const Lines before = Fingerprint();
  Create();
  EXPECT_EQ(Fingerprint(), before);
  EXPECT_EQ(Value("select count(*) from audit_table"), "1");
}

TEST_F(AuditTrail, TheFirstLayoutIsBroughtUpToDateWithItsRows) {
  SetForSessions("timezone to 'Asia/Kolkata'");
  Run(kFirstTable);
  Run("insert into audit_table values ('2024-01-01 05:30', '10.0.0.1', 'op', 7, 'set', 'g', 't', '1', 'why')");
  Create();
  EXPECT_EQ(Layout(), kCurrentLayout);
  EXPECT_EQ(PrimaryKey(), "time,ip_addr,message");
  // Times without a zone are those of the session.
  EXPECT_EQ(
      Rows("select extract(epoch from time)::bigint, ip_addr, user_id, message, group_name, tag_name, value, "
           "comment from audit_table"),
      Lines{"1704067200|10.0.0.1|op|set|g|t|1|why"});

  const Lines before = Fingerprint();
  Create();
  EXPECT_EQ(Fingerprint(), before);
}

TEST_F(AuditTrail, EachOlderTraitIsBroughtUpToDateAlone) {
  for (const char* trait : {"alter column time type timestamp", "alter column time type date",
                            "rename column ip_addr to operator_node", "rename column user_id to operator",
                            "rename column message to name", "add type int", "alter group_name set not null",
                            "alter value set not null", "alter comment set not null"}) {
    SCOPED_TRACE(trait);
    Run(kCurrentTable);
    Run(std::string("alter table audit_table ") + trait);
    ASSERT_NE(Layout(), kCurrentLayout);
    Create();
    EXPECT_EQ(Layout(), kCurrentLayout);
    EXPECT_EQ(PrimaryKey(), "time,ip_addr,message");
    Run("drop table audit_table");
  }
}

TEST_F(AuditTrail, ATableOfAnotherSchemaIsNotTheAuditTable) {
  Run("create schema other");
  Run("create table other.audit_table (operator_node text)");
  Create();
  EXPECT_EQ(Rows("select column_name from information_schema.columns where table_schema = 'other'"),
            Lines{"operator_node"});
  EXPECT_EQ(Value("select count(*) from information_schema.columns where table_schema = 'public' and "
                  "table_name = 'audit_table'"),
            "8");
}

TEST_F(AuditTrail, AMigrationThatIsRefusedStopsThereAndGoesOnWithTheNextCall) {
  Run(kFirstTable);
  Run("alter table audit_table add user_id text");
  const auto dbms = NewDbms();
  EXPECT_FALSE(dbms->CreateAuditTable());
  EXPECT_NE(std::wstring(dbms->GetLastError())
                .find(L"column \"user_id\" of relation \"audit_table\" already exists"),
            std::wstring::npos);
  // The steps before the refusal stay, those after it have not run.
  EXPECT_EQ(Layout(), (Lines{"time|timestamp with time zone|NO", "ip_addr|text|NO", "operator|text|NO",
                             "type|integer|NO", "name|text|NO", "group_name|text|NO", "tag_name|text|YES",
                             "value|text|NO", "comment|text|NO", "user_id|text|YES"}));

  Run("alter table audit_table drop user_id");
  EXPECT_TRUE(dbms->CreateAuditTable());
  EXPECT_EQ(Layout(), kCurrentLayout);
}

TEST_F(AuditTrail, ATimeThatTheServerCannotConvertStopsTheMigrationFirst) {
  Run("create table audit_table (time text not null, operator_node text not null)");
  const auto dbms = NewDbms();
  EXPECT_FALSE(dbms->CreateAuditTable());
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"cannot be cast automatically"), std::wstring::npos);
  EXPECT_EQ(Layout(), (Lines{"time|text|NO", "operator_node|text|NO"}));
}

TEST_F(AuditTrail, WithoutTheExtensionTheTableStaysAPlainOne) {
  const auto dbms = NewDbms();
  EXPECT_TRUE(dbms->CreateSystemLogTable(10));
  EXPECT_TRUE(dbms->CreateAuditTable());
  EXPECT_EQ(Layout(), kCurrentLayout);
}

}  // namespace
