#pragma once

#include <SQLAPI.h>

#include <functional>
#include <string>

// Sets the host to what the selector, if any, returns for `current` (null keeps the host), and drops the
// connection. The connection is also dropped when the selector throws.
void SwitchHost(const std::function<const wchar_t*(const wchar_t*)>& selector, const wchar_t* current,
                std::wstring& host, SAConnection& connection);
