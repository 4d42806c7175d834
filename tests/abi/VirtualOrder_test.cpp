// Each operation must keep its slot of the virtual table, which compiled clients rely on. In the Itanium
// C++ ABI a pointer to a virtual member function holds 1 + the offset of its slot; slots 0 and 1 are the two
// destructors.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "DbmsAPI/Dbms.h"

namespace {

template <class Member>
std::size_t Slot(Member member) {
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words);
  std::memcpy(words, &member, sizeof words);
  EXPECT_EQ(words[0] % 2, 1u) << "not virtual";
  EXPECT_EQ(words[1], 0u) << "not the first base";
  return (words[0] - 1) / sizeof(void*);
}

struct Expected {
  std::size_t number;
  const char* name;
  std::size_t slot;
};

#define OPERATION(number, name) \
  { number, #name, Slot(&Dbms::name) }

TEST(VirtualOrder, TheOperationsFillSlots2To70) {
  const Expected operations[] = {
      OPERATION(1, Connect),
      OPERATION(2, GetServerVersion),
      OPERATION(3, CreateLogTable),
      OPERATION(4, GetOldestLogTime),
      OPERATION(5, InsertLogData),
      OPERATION(6, GetLogData),
      OPERATION(7, CreateUserLogTable),
      OPERATION(8, InsertUserLogData),
      OPERATION(9, GetUserLogData),
      OPERATION(10, CreateAlarmTable),
      OPERATION(11, InsertAlarm),
      OPERATION(12, GetAlarmData),
      OPERATION(13, GetAllAlarmData),
      OPERATION(14, CreateTagValueTable),
      OPERATION(15, PurgeTagValueTable),
      OPERATION(16, InsertTagValueQueue),
      OPERATION(17, InsertTagValues),
      OPERATION(18, CreatePageTimeListTable),
      OPERATION(19, InsertPageTimeList),
      OPERATION(20, ClosePageTimeList),
      OPERATION(21, CreatePageTimestampTable),
      OPERATION(22, CreateReportDataTables),
      OPERATION(23, GetReportDataTime),
      OPERATION(24, SetReportDataTime),
      OPERATION(25, GetReportDataFirstTime),
      OPERATION(26, InsertReportDigitalData),
      OPERATION(27, InsertReportAnalogData),
      OPERATION(28, GetReportDigitalData),
      OPERATION(29, GetReportAnalogData),
      OPERATION(30, CreateEventReportTable),
      OPERATION(31, DeleteEventReportData),
      OPERATION(32, InsertEventReportData),
      OPERATION(33, GetEventReportData),
      OPERATION(34, CreateAuditTable),
      OPERATION(35, CreateUserTables),
      OPERATION(36, DeleteAllUsers),
      OPERATION(37, InsertUsers),
      OPERATION(38, GetUsers),
      OPERATION(39, GetLoggedInUserIds),
      OPERATION(40, CreateSystemLogTable),
      OPERATION(41, InsertSystemLog),
      OPERATION(42, CreateGridTable),
      OPERATION(43, DropGridTable),
      OPERATION(44, InsertEmptyGridRows),
      OPERATION(45, UpdateGridCell),
      OPERATION(46, AppendGridRow),
      OPERATION(47, GetGridCell),
      OPERATION(48, GetGridRowCount),
      OPERATION(49, ClearGridTable),
      OPERATION(50, CreateNetworkTable),
      OPERATION(51, InsertNetworkStatus),
      OPERATION(52, UpdateNetworkStatus),
      OPERATION(53, DeleteAllNetworkStatus),
      OPERATION(54, CreateCommentTable),
      OPERATION(55, DeleteAllComments),
      OPERATION(56, InsertComments),
      OPERATION(57, CreateRecipeGroupTable),
      OPERATION(58, DeleteAllRecipeGroups),
      OPERATION(59, InsertRecipeGroups),
      OPERATION(60, CreateRecipeTable),
      OPERATION(61, SaveRecipe),
      OPERATION(62, GetRecipes),
      OPERATION(63, DeleteRecipe),
      OPERATION(64, CreateGooseTable),
      OPERATION(65, ResetGooseLog),
      OPERATION(66, InsertGooseMessage),
      OPERATION(67, CreateSignatureTable),
      OPERATION(68, GetUncompressedChunkMap),
      OPERATION(69, CompressChunk),
  };
  std::size_t slot = 2;
  for (const Expected& operation : operations) {
    EXPECT_EQ(operation.number + 1, slot) << operation.name;
    EXPECT_EQ(operation.slot, slot) << operation.name;
    ++slot;
  }
  EXPECT_EQ(slot, 71u);
}

}  // namespace
