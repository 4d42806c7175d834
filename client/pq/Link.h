#pragma once

#include <memory>

#include "ConnectionString.h"
#include "Result.h"

namespace pq {

struct FinishLink {
  void operator()(PGconn* link) const;
};

// A link to a server; its end says goodbye.
using Link = std::unique_ptr<PGconn, FinishLink>;

// Makes a link. What the server has to say beside its answers goes nowhere, and dates come in ISO style.
Link Connect(const ConnectionKeywords& keywords);

// Makes the goodbye of a link immediate: nothing is sent any more, nothing waited for.
void CutOff(const PGconn* link);

}  // namespace pq
