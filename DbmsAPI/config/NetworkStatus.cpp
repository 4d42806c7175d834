#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kCreateNetworkTable[] =
    L"create table if not exists network_table ("
    L"station text not null,"
    L"address text not null,"
    L"description text,"
    L"status text,"
    L"read int not null,"
    L"readErr int not null,"
    L"readPerct int not null,"
    L"write int not null,"
    L"writeErr int not null,"
    L"writePerct int not null,"
    L"primary key (station,address))";

// A group of markers for each record follows.
constexpr wchar_t kInsertNetworkStatus[] = L"insert into network_table values ";
// {}: numbers of the parameters for station, address, description, status and the six counters.
constexpr wchar_t kRecordMarkers[] = L"(:{},:{},:{},:{},:{},:{},:{},:{},:{},:{}),";
constexpr std::size_t kParametersPerRecord = 10;

// {}: status, address, the six counters, station.
constexpr wchar_t kUpdateNetworkStatus[] =
    L"update network_table set status = '{}', address = '{}', "
    L"read = {}, readerr = {}, readperct = {}, "
    L"write = {}, writeerr = {}, writeperct = {}  "
    L"where station = '{}';";

constexpr wchar_t kDeleteAllNetworkStatus[] = L"delete from network_table";

// Kept: without records the blank is removed instead of a comma, and the server refuses the statement.
std::wstring InsertStatement(std::size_t recordCount) {
  std::wstring statement = kInsertNetworkStatus;
  for (std::size_t k = 0; k < recordCount; ++k) {
    const std::size_t n = k * kParametersPerRecord;
    statement +=
        Format(kRecordMarkers, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8, n + 9, n + 10);
  }
  statement.pop_back();
  return statement;
}

}  // namespace

bool TirelScada::CreateNetworkTable() { return Run(kCreateNetworkTable); }

bool TirelScada::InsertNetworkStatus(const std::vector<NetworkStatusRecord>& records) {
  return Run([&](SACommand& command) {
    command.setCommandText(ToSAString(InsertStatement(records.size())));
    for (const NetworkStatusRecord& record : records) {
      command << record.station << record.address << record.description << record.status;
      command << record.read << record.readErr << record.readPerct;
      command << record.write << record.writeErr << record.writePerct;
    }
    command.Execute();
  });
}

// Kept: texts are spliced. Rows are found by the station's name alone, so all rows of a station get the same
// address.
bool TirelScada::UpdateNetworkStatus(const wchar_t* station, const wchar_t* status, const wchar_t* address,
                                     int read, int readErr, int readPerct, int write, int writeErr,
                                     int writePerct) {
  return Run([&](SACommand& command) {
    Require({{L"station", station}, {L"status", status}, {L"address", address}});
    Execute(command, Format(kUpdateNetworkStatus, status, address, read, readErr, readPerct, write, writeErr,
                            writePerct, station));
  });
}

bool TirelScada::DeleteAllNetworkStatus() { return Run(kDeleteAllNetworkStatus); }
