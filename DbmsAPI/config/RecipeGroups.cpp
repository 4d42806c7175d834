#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kCreateRecipeGroup[] =
    L"create table if not exists recipe_group ("
    L"model_name text not null,"
    L"group_name text not null,"
    L"fields json not null,"
    L"primary key (model_name,group_name))";

constexpr wchar_t kDeleteAllRecipeGroups[] = L"delete from recipe_group";

// :1 model, :2 group, :3 fields as JSON.
constexpr wchar_t kInsertRecipeGroup[] = L"insert into recipe_group values(:1,:2,:3)";

}  // namespace

bool TirelScada::CreateRecipeGroupTable() { return Run(kCreateRecipeGroup); }

bool TirelScada::DeleteAllRecipeGroups() { return Run(kDeleteAllRecipeGroups); }

bool TirelScada::InsertRecipeGroups(const std::vector<RecipeGroupRecord>& groups) {
  return Run([&](SACommand& command) {
    command.setCommandText(kInsertRecipeGroup);
    for (const RecipeGroupRecord& group : groups) {
      command << group.model_name << group.group_name << group.fields;
      command.Execute();
    }
  });
}
