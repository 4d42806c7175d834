#pragma once

#include <SQLAPI.h>

#include <functional>
#include <string>

// Asks the selector, when there is one, for the next host (`current` is its argument; null as its answer
// keeps the host) and drops the connection. An exception of the selector goes on to the caller after the
// drop.
void SwitchHost(const std::function<const wchar_t*(const wchar_t*)>& selector, const wchar_t* current,
                std::wstring& host, SAConnection& connection);
