#include "../TirelScada.h"

bool TirelScada::CreateRecipeTable() { return Pending(L"CreateRecipeTable"); }

bool TirelScada::SaveRecipe(const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*) {
  return Pending(L"SaveRecipe");
}

bool TirelScada::GetRecipes(const wchar_t*, const wchar_t*, std::vector<RecipeRecord>&) {
  return Pending(L"GetRecipes");
}

bool TirelScada::DeleteRecipe(const wchar_t*, const wchar_t*) { return Pending(L"DeleteRecipe"); }
