#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kCreateRecipe[] =
    L"create table if not exists recipe ("
    L"model_name text not null,"
    L"name text not null,"
    L"fields json not null,"
    L"description text,"
    L"primary key (model_name,name))";

// :1 model, :2 name.
constexpr wchar_t kCountRecipe[] = L"select count(*) from recipe where model_name = :1 and name = :2";

// :1 model, :2 name, :3 fields as JSON, :4 description or NULL.
constexpr wchar_t kUpdateRecipe[] =
    L"update recipe set fields = :3, description = :4 where model_name = :1 and name = :2";
constexpr wchar_t kInsertRecipe[] = L"insert into recipe values(:1,:2,:3,:4)";

// :1 model.
constexpr wchar_t kSelectRecipes[] = L"select name,fields,description from recipe where model_name = :1";
// :1 model, :2 name.
constexpr wchar_t kSelectRecipe[] =
    L"select name,fields,description from recipe where model_name = :1 and name = :2";

// :1 model, :2 name.
constexpr wchar_t kDeleteRecipe[] = L"delete from recipe where model_name = :1 and name = :2";

bool Exists(SACommand& command, const wchar_t* model, const wchar_t* name) {
  command.setCommandText(kCountRecipe);
  command << model << name;
  command.Execute();
  return command.FetchNext() && command.Field(1).asLong() != 0;
}

}  // namespace

bool TirelScada::CreateRecipeTable() { return Run(kCreateRecipe); }

// Kept: the count and the write are two statements without a transaction. When two writers save the same new
// recipe at once, the primary key refuses the second.
bool TirelScada::SaveRecipe(const wchar_t* model, const wchar_t* name, const wchar_t* fields,
                            const wchar_t* description) {
  return Run([&](SACommand& command) {
    Require({{L"model", model}, {L"name", name}, {L"fields", fields}});
    command.setCommandText(Exists(command, model, name) ? kUpdateRecipe : kInsertRecipe);
    command.Param(1).setAsString() = model;
    command.Param(2).setAsString() = name;
    command.Param(3).setAsString() = fields;
    BindOrNull(command.Param(4), OptionalText(description));
    command.Execute();
  });
}

bool TirelScada::GetRecipes(const wchar_t* model, const wchar_t* name, std::vector<RecipeRecord>& recipes) {
  return Run([&](SACommand& command) {
    Require({{L"model", model}});
    const bool named = !OptionalText(name).empty();
    command.setCommandText(named ? kSelectRecipe : kSelectRecipes);
    command << model;
    if (named) command << name;
    command.Execute();
    while (command.FetchNext()) {
      RecipeRecord recipe;
      recipe.name = command.Field(1).asString();
      recipe.fields = command.Field(2).asString();
      recipe.description = command.Field(3).asString();
      recipes.push_back(std::move(recipe));
    }
  });
}

bool TirelScada::DeleteRecipe(const wchar_t* model, const wchar_t* name) {
  return Run([&](SACommand& command) {
    Require({{L"model", model}, {L"name", name}});
    command.setCommandText(kDeleteRecipe);
    command << model << name;
    command.Execute();
  });
}
