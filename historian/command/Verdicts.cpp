#include "Verdicts.h"

namespace historian::command {

const char* WordOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Warning: return "warning";
    case Verdict::Failed: return "failed";
    case Verdict::Ok: break;
  }
  return "ok";
}

nlohmann::json ToJson(const HealthReport& report) {
  nlohmann::json findings = nlohmann::json::array();
  for (const Finding& finding : report.findings) {
    findings.push_back({{"check", finding.check},
                        {"verdict", WordOf(finding.verdict)},
                        {"found", finding.found},
                        {"advice", finding.advice}});
  }
  return {{"verdict", WordOf(report.Worst())}, {"findings", findings}};
}

}  // namespace historian::command
