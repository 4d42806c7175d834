#pragma once

#include <DbmsAPI/Dbms.h>

// An account whose times are set.
inline UserRecord Account(const wchar_t* id) {
  return {id, L"Operator One", L"p'w", L"old", 7,        -2, L"crew",    L"shift lead", 1,
          0,  L"node 3",       -1,     0,      L"panel", 3,  1700000000, L"text"};
}

inline bool Same(const UserRecord& a, const UserRecord& b) {
  return a.id == b.id && a.username == b.username && a.password == b.password &&
         a.old_password == b.old_password && a.security_level == b.security_level &&
         a.sign_level == b.sign_level && a.user_group == b.user_group && a.user_role == b.user_role &&
         a.is_now_login == b.is_now_login && a.login_date == b.login_date &&
         a.operator_node == b.operator_node && a.use_expire == b.use_expire &&
         a.expired_date == b.expired_date && a.login_device == b.login_device &&
         a.login_count == b.login_count && a.last_reset_pass == b.last_reset_pass &&
         a.description == b.description;
}
