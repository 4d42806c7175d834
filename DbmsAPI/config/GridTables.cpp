#include "../TirelScada.h"

bool TirelScada::CreateGridTable(const wchar_t*, int) { return Pending(L"CreateGridTable"); }

bool TirelScada::DropGridTable(const wchar_t*) { return Pending(L"DropGridTable"); }

bool TirelScada::InsertEmptyGridRows(const wchar_t*, int, int) { return Pending(L"InsertEmptyGridRows"); }

bool TirelScada::UpdateGridCell(const wchar_t*, int, int, const wchar_t*) {
  return Pending(L"UpdateGridCell");
}

bool TirelScada::AppendGridRow(const wchar_t*, const wchar_t*) { return Pending(L"AppendGridRow"); }

bool TirelScada::GetGridCell(const wchar_t*, int, int, std::wstring&) { return Pending(L"GetGridCell"); }

bool TirelScada::GetGridRowCount(const wchar_t*, int&) { return Pending(L"GetGridRowCount"); }

bool TirelScada::ClearGridTable(const wchar_t*) { return Pending(L"ClearGridTable"); }
