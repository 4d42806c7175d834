#pragma once

#include <SQLAPI.h>

// What a connection to the scripted server knows.
class SAConnection::Impl {
 public:
  bool connected = false;
  SAIsolationLevel_t level = SA_LevelUnknown;
};
