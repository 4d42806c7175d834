#include "../TirelScada.h"

bool TirelScada::CreateSignatureTable() { return Pending(L"CreateSignatureTable"); }
