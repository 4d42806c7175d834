#pragma once

#include <SQLAPI.h>

// The state of a connection to the scripted server.
class SAConnection::Impl {
 public:
  bool connected = false;
  SAIsolationLevel_t level = SA_LevelUnknown;
};
