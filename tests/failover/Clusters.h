#pragma once

#include <memory>
#include <string>

#include "DbmsAPI/Dbms.h"

// The two clusters of a test: a primary and its synchronous replica, on one port and two
// addresses.
class Clusters {
 public:
  Clusters();  // throws when the environment does not name them

  const std::wstring& primary() const { return primary_; }
  const std::wstring& standby() const { return standby_; }

  // An object that is connected to the primary.
  std::shared_ptr<Dbms> Connect() const;
  // The same for a given host, or list of hosts, and database text.
  std::shared_ptr<Dbms> ConnectTo(const std::wstring& host, const wchar_t* database = L"postgres") const;

  // The other of the two hosts, for a hostSelector to return.
  const wchar_t* Other(const std::wstring& host) const;

  // Stop the primary immediately; promote the replica. Both return when that is done.
  void StopPrimary() const { Ask("stop-primary"); }
  void PromoteStandby() const { Ask("promote-standby"); }
  // Make the running primary read-only; start a stopped one again, read-only.
  void FencePrimary() const { Ask("fence-primary"); }
  void ReturnPrimary() const { Ask("return-primary"); }

 private:
  void Ask(const std::string& request) const;

  std::wstring primary_, standby_, user_, password_;
  int port_;
  std::string requests_;  // folder for requests to clusters.sh
};
