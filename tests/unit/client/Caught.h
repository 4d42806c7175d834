#pragma once

#include <SQLAPI.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

inline std::wstring Wide(const SAString& text) { return {text, text.GetLength()}; }

// The text of the class 2 error that an action throws.
template <class Action>
std::wstring UsageErrorText(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const SAException& error) {
    EXPECT_EQ(error.ErrClass(), SA_Library_Error);
    EXPECT_EQ(error.ErrNativeCode(), 0);
    return Wide(error.ErrText());
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}
