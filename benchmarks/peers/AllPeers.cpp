#include "Peer.h"

namespace peers {

std::vector<std::unique_ptr<Peer>> AllPeers([[maybe_unused]] const bench::BenchServer& server) {
  std::vector<std::unique_ptr<Peer>> all;
#ifdef BENCH_PQXX
  all.push_back(MakePqxx(server));
#endif
#ifdef BENCH_SOCI
  all.push_back(MakeSoci(server));
#endif
#ifdef BENCH_QT
  all.push_back(MakeQt(server));
#endif
#ifdef BENCH_ODBC
  all.push_back(MakeOdbc(server));
#endif
  return all;
}

}  // namespace peers
