#include "chaos/Families.h"

namespace {

constexpr std::int64_t kMs = 1700000000000;

}  // namespace

Family UserAccounts() {
  const auto insert = [](Dbms& d) {
    UserRecord first, second;
    first.id = L"first";
    second.id = L"second";
    return d.InsertUsers({first, second});
  };
  const auto read = [](Dbms& d) {
    std::vector<UserRecord> users;
    return d.GetUsers(users) && users.size() == 1;
  };
  const std::string count = "select count(*) from userinfo_table";
  const std::string fill =
      "truncate userinfo_table; insert into userinfo_table "
      "values ('first', '', '', '', 0, 0, '', '', 0, now(), '', 0, now(), '', 0, now(), '')";
  return {"UserAccounts",
          [](Dbms& d) { return d.CreateUserTables(); },
          // The first account, the statement prepared for the second, the second.
          {{"InsertUsers",
            "userinfo_table",
            "truncate userinfo_table",
            insert,
            count,
            {0, 1, 1, 2},
            Again::IsRefused},
           {"GetUsers", "userinfo_table", fill, read, count, {1, 1}}}};
}

Family SystemLog() {
  const auto insert = [](Dbms& d) {
    return d.InsertSystemLog({{kMs, 1, 2, 3, 4, L"op", L"first"}, {kMs, 1, 2, 3, 4, L"op", L"second"}}) == 2;
  };
  return {"SystemLog",
          [](Dbms& d) { return d.CreateSystemLogTable(0); },
          // The first record, the statement prepared for the second, the second.
          {{"InsertSystemLog",
            "system_log",
            "truncate system_log",
            insert,
            "select count(*) from system_log",
            {0, 1, 1, 2},
            Again::IsRefused}}};
}

Family Recipes() {
  const auto save = [](Dbms& d) { return d.SaveRecipe(L"bread", L"rye", L"{}", L"with caraway"); };
  const auto read = [](Dbms& d) {
    std::vector<RecipeRecord> recipes;
    return d.GetRecipes(L"bread", nullptr, recipes) && recipes.size() == 1;
  };
  const std::string count = "select count(*) from recipe";
  return {"Recipes",
          [](Dbms& d) { return d.CreateRecipeTable(); },
          // Whether it exists, INSERT.
          {{"SaveRecipe", "recipe", "truncate recipe", save, count, {0, 0, 1}},
           {"GetRecipes",
            "recipe",
            "truncate recipe; insert into recipe values ('bread', 'rye', '{}')",
            read,
            count,
            {1, 1}}}};
}

Family Goose() {
  const auto insert = [](Dbms& d) {
    GooseMessageRecord message;
    message.GOOSE_ControlBlock_Ref = L"CB";
    message.invalidityTime = L"1700000000123";
    return d.InsertGooseMessage(message);
  };
  // Its time is the server's, so no key detects a message that is sent again.
  return {"Goose",
          [](Dbms& d) { return d.CreateGooseTable(); },
          {{"InsertGooseMessage",
            "iec_goose",
            "truncate iec_goose",
            insert,
            "select count(*) from iec_goose",
            {0, 1},
            Again::Adds}}};
}

Family Configuration() {
  const auto append = [](Dbms& d) { return d.AppendGridRow(L"grid", L"'a', 'b'"); };
  const auto read = [](Dbms& d) {
    std::wstring cell;
    return d.GetGridCell(L"grid", 1, 1, cell) && cell == L"a";
  };
  const auto station = [](Dbms& d) {
    return d.InsertNetworkStatus({{L"S", L"1.2.3.4", L"d", L"up", 1, 2, 3, 4, 5, 6}});
  };
  const auto comments = [](Dbms& d) {
    return d.InsertComments({{1, 2, 3, L"c", L"f"}, {1, 2, 4, L"c", L""}});
  };
  const std::string countRows = "select count(*) from grid";
  return {"Configuration",
          [](Dbms& d) {
            return d.CreateGridTable(L"grid", 2) && d.CreateNetworkTable() && d.CreateCommentTable();
          },
          // The number of rows, INSERT.
          {{"AppendGridRow", "grid", "truncate grid", append, countRows, {0, 0, 1}, Again::Adds},
           {"GetGridCell",
            "grid",
            "truncate grid; insert into grid values ('a', 'b', 1)",
            read,
            countRows,
            {1, 1}},
           {"InsertNetworkStatus",
            "network_table",
            "truncate network_table",
            station,
            "select count(*) from network_table",
            {0, 1},
            Again::IsRefused},
           {"InsertComments",
            "comment",
            "truncate comment",
            comments,
            "select count(*) from comment",
            {0, 1, 1, 2},
            Again::IsRefused}}};
}
