#pragma once

#include <memory>
#include <string>

#include "DbmsAPI/Dbms.h"

// The two clusters that a test finds beside it: a primary and its synchronous replica, one port, two
// addresses.
class Clusters {
 public:
  Clusters();  // throws when the environment does not name them

  const std::wstring& primary() const { return primary_; }
  const std::wstring& standby() const { return standby_; }

  // An object that is connected to the primary at first.
  std::shared_ptr<Dbms> Connect() const;
  // The same for a host of choice.
  std::shared_ptr<Dbms> ConnectTo(const std::wstring& host) const;

  // The other of the two hosts, as a hostSelector answers.
  const wchar_t* Other(const std::wstring& host) const;

  // Stops the primary hard; makes the replica accept writes. Both return when it is done.
  void StopPrimary() const { Ask("stop-primary"); }
  void PromoteStandby() const { Ask("promote-standby"); }
  // Makes the primary read-only as it runs; starts a stopped one again, read-only.
  void FencePrimary() const { Ask("fence-primary"); }
  void ReturnPrimary() const { Ask("return-primary"); }

 private:
  void Ask(const std::string& request) const;

  std::wstring primary_, standby_, user_, password_;
  int port_;
  std::string requests_;  // folder in which wishes are left
};
