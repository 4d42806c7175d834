#include "../TirelScada.h"

bool TirelScada::CreateAuditTable() { return Pending(L"CreateAuditTable"); }
