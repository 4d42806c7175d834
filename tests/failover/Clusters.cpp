#include "Clusters.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace {

constexpr auto kLongEnough = std::chrono::minutes(2);
constexpr auto kPause = std::chrono::milliseconds(20);

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set: no clusters to test on");
  return value;
}

std::wstring WideEnvironment(const char* name) {
  const std::string value = Environment(name);  // plain ASCII
  return {value.begin(), value.end()};
}

}  // namespace

Clusters::Clusters()
    : primary_(WideEnvironment("DBMSAPI_PRIMARY_HOST")),
      standby_(WideEnvironment("DBMSAPI_STANDBY_HOST")),
      user_(WideEnvironment("DBMSAPI_TEST_USER")),
      password_(WideEnvironment("DBMSAPI_TEST_PASSWORD")),
      port_(std::stoi(Environment("DBMSAPI_TEST_PORT"))),
      requests_(Environment("DBMSAPI_REQUESTS")) {}

std::shared_ptr<Dbms> Clusters::Connect() const { return ConnectTo(primary_); }

std::shared_ptr<Dbms> Clusters::ConnectTo(const std::wstring& host, const wchar_t* database) const {
  return Dbms::GetDbms(DbmsType::TirelScada, host.c_str(), port_, database, user_.c_str(), password_.c_str());
}

const wchar_t* Clusters::Other(const std::wstring& host) const {
  return host == primary_ ? standby_.c_str() : primary_.c_str();
}

void Clusters::Ask(const std::string& request) const {
  const std::filesystem::path wish = std::filesystem::path(requests_) / request;
  std::ofstream(wish).flush();
  const auto end = std::chrono::steady_clock::now() + kLongEnough;
  while (!std::filesystem::exists(wish.string() + ".done")) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error(request + " was not carried out");
    std::this_thread::sleep_for(kPause);
  }
}
