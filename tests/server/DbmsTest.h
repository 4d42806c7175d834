#pragma once

#include <DbmsAPI/Dbms.h>

#include <memory>

#include "server/ServerTest.h"

// A text with a character of each of the 17 planes, and a query that returns the same text.
inline constexpr wchar_t kEveryPlane[] =
    L"B\U00010042\U00020042\U00030042\U00040042\U00050042\U00060042\U00070042\U00080042\U00090042\U000A0042"
    L"\U000B0042\U000C0042\U000D0042\U000E0042\U000F0042\U00100042";
inline constexpr char kEveryPlaneSql[] =
    "(select string_agg(chr(65536 * plane + 66), '' order by plane) from generate_series(0, 16) plane)";

// A fresh database and objects for it.
class DbmsTest : public ServerTest {
 protected:
  std::shared_ptr<Dbms> NewDbms(DbmsType type = DbmsType::TirelScada) const {
    return Dbms::GetDbms(type, Host().c_str(), Port(), Database().c_str(), User().c_str(),
                         Password().c_str());
  }

  // Sets a default for later sessions: "timezone to 'UTC'".
  void SetForSessions(const std::string& setting) {
    const std::wstring name = Database();
    Run("alter database " + std::string(name.begin(), name.end()) + " set " + setting);
  }
};
