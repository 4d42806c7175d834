#pragma once

#include <memory>

#include "pgAPI.h"
#include "pq/Session.h"

class SAConnection::Impl {
 public:
  std::shared_ptr<pq::Session> session = std::make_shared<pq::Session>();
  pgConnectionHandles handles;
  SAIsolationLevel_t isolationLevel = SA_LevelUnknown;
};
