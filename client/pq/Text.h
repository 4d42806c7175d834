#pragma once

#include <string_view>

#include "SQLAPI.h"

namespace pq {

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

inline std::wstring_view View(const SAString& text) { return {text, text.GetLength()}; }

// libpq would end such a text at its first NUL.
inline bool HoldsNul(const SAString& text) { return View(text).find(L'\0') != std::wstring_view::npos; }

}  // namespace pq
