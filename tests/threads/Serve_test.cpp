// The answers for the page of historian serve: many requests at the same time.

#include "historian/command/serve/ServeTest.h"

#include <atomic>

#include "historian/command/serve/Refused.h"
#include "threads/Parallel.h"

#if defined(__SANITIZE_THREAD__)
// The HTTP library is compiled without the sanitizer, which therefore does not see what orders its threads:
// the first use of a static in it looks like a race.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "called_from_lib:libcpp-httplib.so\n";
}
#endif

namespace historian::command {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 20;

class ServeThreads : public ServeTest {
 protected:
  // Runs the same on several threads.
  static void OnThreads(int threads, const std::function<void()>& body) {
    InParallel(std::vector<std::function<void()>>(static_cast<std::size_t>(threads), body));
  }
};

TEST_F(ServeThreads, EachRequestHasAConnectionToItself) {
  dbms.reset();  // otherwise it has a connection, too
  Pool pool(ServerUnderTest(), {2, kThreads});
  std::atomic<int> under_way{0}, most{0}, good{0};
  OnThreads(kThreads, [&] {
    for (int round = 0; round < kRounds; ++round) {
      pool.Run([&](Server& server) {
        const int now = ++under_way;
        for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) {
        }
        const std::string number = std::to_string(now * 1000 + round);
        if (server.Value(L"select " + sys::FromUtf8(number)) == number) ++good;
        --under_way;
      });
    }
  });
  EXPECT_EQ(good, kThreads * kRounds);
  EXPECT_LE(most, 2);
  EXPECT_EQ(Value("select count(*) <= 2 from " + std::string(kOtherBackends) + " other"), "t");
}

// While the only connection is in use, one of three requests waits for it and two are refused.
TEST_F(ServeThreads, RequestsBeyondTheLimitAreRefused) {
  Pool pool(ServerUnderTest(), {1, 1});
  std::atomic<bool> held{false};
  std::atomic<int> refused{0}, done{0};
  const auto hold = [&] {
    pool.Run([&](Server&) {
      held = true;
      while (refused < 2) std::this_thread::yield();
    });
  };
  const auto ask = [&] {
    while (!held) std::this_thread::yield();
    try {
      pool.Run([&](Server& server) {
        if (server.Value(L"select 1") == "1") ++done;
      });
    } catch (const RequestRefused& error) {
      if (error.status == kTooMany) ++refused;
    }
  };
  for (int round = 0; round < kRounds; ++round) {
    held = false;
    refused = done = 0;
    InParallel({hold, ask, ask, ask});
    EXPECT_EQ(refused, 2);
    EXPECT_EQ(done, 1);
  }
}

TEST_F(ServeThreads, RequestsGoOnAfterTheirConnectionsWereLost) {
  dbms.reset();
  Pool pool(ServerUnderTest(), {4, kThreads});
  std::atomic<int> connected{0}, good{0};
  OnThreads(4, [&] {
    pool.Run([&](Server&) {
      ++connected;
      while (connected < 4) std::this_thread::yield();
    });
  });
  EXPECT_EQ(Value("select count(*) from " + std::string(kOtherBackends) + " other"), "4");
  Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " other(pid)");
  OnThreads(kThreads, [&] {
    for (int round = 0; round < kRounds; ++round) {
      pool.Run([&](Server& server) {
        if (server.Value(L"select 1") == "1") ++good;
      });
    }
  });
  EXPECT_EQ(good, kThreads * kRounds);
}

// With a pool that lets nobody wait, a second reader would be refused.
TEST_F(ServeThreads, OneRequestReadsTheTagsForAll) {
  Run("insert into datalog values ('2026-03-02 06:00:00Z', 'A', 1), ('2026-03-02 06:00:00Z', 'B', 1)");
  Pool pool(ServerUnderTest(), {1, 0});
  TagList tags(pool);
  std::atomic<int> good{0};
  OnThreads(kThreads, [&] {
    for (int round = 0; round < kRounds; ++round) {
      const TagList::Tags read = tags.Get();
      if (read->size() == 2 && read->at(1).name == "B") ++good;
    }
  });
  EXPECT_EQ(good, kThreads * kRounds);
}

TEST_F(ServeThreads, ThePageAnswersManyClientsAndEnds) {
  Run("insert into datalog select timestamptz '2026-03-02 06:00:00Z' + i * interval '1 s', 'A', i "
      "from generate_series(0, 3599) i");
  Start({2, kThreads});
  const std::string range = "tag=A&from=1772431200000&to=1772434800000";
  const std::vector<std::string> paths = {
      "/",           "/api/state",          "/api/tags?match=a",    "/api/extent?tag=A",
      "/api/health", "/api/trend?" + range, "/api/alarms?" + range, "/api/samples.csv?" + range};
  std::atomic<std::size_t> good{0};
  OnThreads(kThreads, [&] {
    for (const std::string& path : paths) {
      if (Get(path).status == 200) ++good;
    }
  });
  EXPECT_EQ(good, kThreads * paths.size());
  EXPECT_TRUE(service->Stop());
}

}  // namespace
}  // namespace historian::command
