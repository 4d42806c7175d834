#include "HostileServer.h"

#include <DbmsAPI/Dbms.h>
#include <DbmsAPI/Diagnostics.h>

#include <algorithm>

#include "FakeServer.h"
#include "Fuzz.h"
#include "LostResults.h"

namespace fuzz {
namespace {

constexpr int kMostAttempts = 4;

// Messages that the answers do not have, or not at this place.
std::string Alien(Input& input) {
  constexpr std::string_view kTypes = "GHWdcEENASZIs3t12nvVCTDRKRRR";
  const char type = kTypes[input.Below(static_cast<unsigned>(kTypes.size()))];
  const std::string bytes(input.Bytes(input.Below(24)));
  switch (input.Below(4)) {
    case 0: return Message(type, bytes);
    case 1:
      return type == 'S' ? Parameter("DateStyle", "German")
                         : Message(type, Number(input.Below(16), 4) + bytes);
    case 2:
      return type == 'S' ? Parameter("client_encoding", "SQL_ASCII")
                         : Message(type, '\0' + Number(1, 2) + Number(0, 2));
    default: return type == 'E' ? Failure("57P01", bytes) : Message(type, Text(bytes) + Text(bytes));
  }
}

// Lengths that are invalid, or of a message that never ends.
std::uint32_t BadLength(Input& input) {
  constexpr std::uint32_t kLengths[] = {0, 1, 3, 4, 5, 0xFFFFFFFF, 0x7FFFFFFF, 0x80000000, 30001, 1 << 20};
  return kLengths[input.Below(std::size(kLengths))];
}

void Overwrite(std::string& bytes, std::size_t at, const std::string& by) {
  bytes.replace(std::min(at, bytes.size()), by.size(), by);
}

// Makes one change of an answer, which has at least one message.
void ChangeMessages(Input& input, Messages& messages) {
  const std::size_t at = input.Below(255) % messages.size();
  std::string& message = messages[at];
  const auto place = [&] { return input.Take<std::uint16_t>() % (message.size() + 1); };
  switch (input.Below(9)) {
    case 0: Overwrite(message, place(), std::string(1, input.Take<char>())); break;
    case 1: std::swap(message, messages[input.Below(255) % messages.size()]); break;
    case 2: messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(at)); break;
    case 3: messages.insert(messages.begin() + static_cast<std::ptrdiff_t>(at), std::string(message)); break;
    case 4: messages.insert(messages.begin() + static_cast<std::ptrdiff_t>(at), Alien(input)); break;
    case 5: Overwrite(message, 1, Number(BadLength(input), 4)); break;
    case 6: Overwrite(message, place(), Number(BadLength(input), 4)); break;
    case 7: message.resize(place()); break;
    default: message = Alien(input); break;
  }
}

FakeServer::Answer Change(Input& input, Messages messages) {
  FakeServer::Answer answer;
  for (unsigned changes = input.Below(4); changes > 0 && !messages.empty(); --changes) {
    ChangeMessages(input, messages);
  }
  for (const std::string& message : messages) answer.bytes += message;
  const unsigned how = input.Below(16);
  if (how == 1) answer.bytes.resize(input.Take<std::uint16_t>() % (answer.bytes.size() + 1));
  if (how <= 5) answer.ends = !input.empty();
  if (how == 6) answer.piece = input.Below(32) + 1;
  return answer;
}

void RunOperation(Dbms& dbms, unsigned which) {
  std::vector<UserRecord> users;
  std::vector<AlarmRecord> alarms;
  std::unordered_map<std::wstring, std::vector<LogPoint>> points{{L"TAG", {}}};
  std::unordered_map<std::wstring, std::vector<ReportAnalogData>> rows{{L"TAG", {}}};
  switch (which) {
    case 0: dbms.Connect(); break;
    case 1: dbms.GetLogData(1, 2, points); break;
    case 2: dbms.GetAlarmData(1, 2, -1, -1, -1, -1, {}, {}, alarms); break;
    case 3: dbms.GetReportAnalogData(L"hour", 1, 2, rows); break;
    case 4: dbms.GetUsers(users); break;
    default: dbms.InsertLogData({{1700000000123, L"TAG", 1.5}, {1700000000124, L"TAG \\", 0.1}}); break;
  }
}

bool WorksAgain(Dbms& dbms) {
  std::vector<UserRecord> users;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    users.clear();
    if (dbms.GetUsers(users) && dbms.InsertLogData({{1700000000123, L"TAG", 1.5}})) {
      return users.size() == 3 && users[2].id == L"op" && users[2].last_reset_pass == users[0].login_date;
    }
  }
  std::fprintf(stderr, "%ls\n", dbms.GetLastError());
  return false;
}

}  // namespace

void RunHostileServer(std::string_view decisions) {
  SetDbmsDebugSink([](const wchar_t*) {});
  Input input(reinterpret_cast<const std::uint8_t*>(decisions.data()), decisions.size());
  const std::string_view operations = input.Bytes(6);
  FakeServer server([&](Messages messages) { return Change(input, std::move(messages)); });
  // Looking for Kerberos credentials takes longer than the connection.
  auto dbms = Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", server.Port(),
                            L"dbname=db gssencmode=disable", L"u", L"p");
  for (const char operation : operations) RunOperation(*dbms, static_cast<unsigned char>(operation) % 6u);
  server.Behave();
  REQUIRE(WorksAgain(*dbms));
  dbms.reset();
  FreeLostResults();
}

}  // namespace fuzz
