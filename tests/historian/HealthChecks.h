#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "historian/Health.h"

namespace historian {

// Checks the store over a new connection each time, and carries out the advice.
struct HealthChecks {
  std::function<std::shared_ptr<Dbms>()> connect;
  std::function<void(const std::string&)> run;  // runs a statement as an administrator
  HealthOptions options;

  HealthReport Report() const { return CheckHealth(*connect(), options); }

  Finding Look(const std::string& check) const {
    for (const Finding& finding : Report().findings) {
      if (finding.check == check) return finding;
    }
    ADD_FAILURE() << "nothing was found of: " << check;
    return {};
  }

  // The statements of an advice, one by one.
  void CarryOut(const std::string& advice) const {
    std::size_t begin = 0;
    while (begin < advice.size()) {
      const std::size_t end = std::min(advice.find("; ", begin), advice.size());
      run(advice.substr(begin, end - begin));
      begin = end + 2;
    }
  }

  Finding Expect(const std::string& check, Verdict verdict, const std::string& part) const {
    const Finding finding = Look(check);
    EXPECT_EQ(finding.verdict, verdict) << check << ": " << finding.found;
    EXPECT_NE(finding.found.find(part), std::string::npos) << check << ": " << finding.found;
    EXPECT_EQ(finding.advice.empty(), verdict == Verdict::Ok) << finding.advice;
    return finding;
  }

  // Expects that the check reports this, and that it passes after its advice was carried out.
  void ExpectCure(const std::string& check, Verdict verdict, const std::string& part) const {
    const Finding finding = Expect(check, verdict, part);
    CarryOut(finding.advice);
    Expect(check, Verdict::Ok, "");
  }

  // Checks that could not be made.
  std::vector<std::string> NotMade() const {
    std::vector<std::string> notMade;
    for (const Finding& finding : Report().findings) {
      if (finding.found.find("could not be checked") != std::string::npos)
        notMade.push_back(finding.check + ": " + finding.found);
    }
    return notMade;
  }
};

}  // namespace historian
