#pragma once

// Records of user accounts and the system log.

#include <cstdint>
#include <string>

// One operator account. The three times are epoch seconds of 32 bits: the width is part of the layout.
struct UserRecord {
  std::wstring id;  // primary key
  std::wstring username;
  std::wstring password;
  std::wstring old_password;  // NULL reads as empty
  std::int32_t security_level = 0;
  std::int32_t sign_level = 0;
  std::wstring user_group;
  std::wstring user_role;
  std::int16_t is_now_login = 0;  // 1 while logged in
  std::int32_t login_date = 0;    // last login; NULL reads as 0
  std::wstring operator_node;     // node of the last login
  std::int16_t use_expire = 0;
  std::int32_t expired_date = 0;
  std::wstring login_device;  // device of the last login
  std::int32_t login_count = 0;
  std::int32_t last_reset_pass = 0;
  std::wstring description;
};

// One event of the runtime itself. The clients define the numeric codes.
struct SystemLogRecord {
  std::int64_t time = 0;  // epoch milliseconds
  std::int16_t node = 0;
  std::int16_t module = 0;
  std::int16_t level = 0;
  std::int32_t type = 0;
  std::wstring user_id;  // acting user; empty: none (stored as NULL)
  std::wstring message;
};
