#include "../TirelScada.h"

bool TirelScada::CreateRecipeGroupTable() { return Pending(L"CreateRecipeGroupTable"); }

bool TirelScada::DeleteAllRecipeGroups() { return Pending(L"DeleteAllRecipeGroups"); }

bool TirelScada::InsertRecipeGroups(const std::vector<RecipeGroupRecord>&) {
  return Pending(L"InsertRecipeGroups");
}
