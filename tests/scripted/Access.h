#pragma once

// Lets tests see the protected members of an object.

#include "DbmsAPI/PostgreSQL.h"

namespace access_detail {

// Makes the members accessible. Pointers to them have the base's type, so they apply to any object.
struct Members : TirelScada {
  using TirelScada::HandleDbException;
  using TirelScada::host;
  using TirelScada::SetRetentionPolicy;
  using TirelScada::SetRetentionPolicyLegacy;
  using TirelScada::timescaleEnabled;
  using TirelScada::type;
};

}  // namespace access_detail

struct Access {
  using Members = access_detail::Members;

  static DbmsType Type(Dbms& dbms) { return dbms.*&Members::type; }
  static const std::wstring& Host(Dbms& dbms) { return dbms.*&Members::host; }
  static bool& TimescaleEnabled(Dbms& dbms) { return As(dbms).*&Members::timescaleEnabled; }
  static void SetRetentionPolicyLegacy(Dbms& dbms, const wchar_t* table, int days) {
    (As(dbms).*&Members::SetRetentionPolicyLegacy)(table, days);
  }
  static void SetRetentionPolicy(Dbms& dbms, const wchar_t* table, int days) {
    (As(dbms).*&Members::SetRetentionPolicy)(table, days);
  }
  static void HandleDbException(Dbms& dbms, const SAException& error) {
    (As(dbms).*&Members::HandleDbException)(error);
  }

 private:
  static TirelScada& As(Dbms& dbms) { return dynamic_cast<TirelScada&>(dbms); }
};
