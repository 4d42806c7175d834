#include "../TirelScada.h"

bool TirelScada::CreateGooseTable() { return Pending(L"CreateGooseTable"); }

bool TirelScada::ResetGooseLog() { return Pending(L"ResetGooseLog"); }

bool TirelScada::InsertGooseMessage(const GooseMessageRecord&) { return Pending(L"InsertGooseMessage"); }
