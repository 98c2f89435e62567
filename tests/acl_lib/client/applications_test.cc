#include <cstdint>
#include <cstring>
#include <set>
#include <string_view>

#include "tests/acl_lib/library_test.h"

namespace {

constexpr std::size_t kApplications = 29;

// What a row says beside its name.
struct Row {
  std::int32_t id, appClass, number;
};

constexpr Row kRows[kApplications] = {
    {0, -1, 0},  {1, 1, 1},   {2, 0, 2},   {3, 1, 3},   {4, 2, 1},   {5, 1, 5},
    {6, 1, 6},   {7, 1, 8},   {8, 1, 7},   {9, 2, 2},   {10, 1, 15}, {11, 0, 1},
    {12, 1, 16}, {13, 1, 9},  {14, 1, 10}, {15, 1, 17}, {16, 1, 18}, {17, 1, 19},
    {18, 1, 20}, {19, 1, 11}, {20, 1, 4},  {21, 1, 12}, {22, 1, 2},  {23, 1, 14},
    {24, 1, 21}, {25, 1, 13}, {26, 1, 22}, {27, 1, 23}, {28, 1, 24},
};

TEST(Applications, EveryRowHasItsIdClassAndNumber) {
  for (std::size_t i = 0; i < kApplications; ++i) {
    EXPECT_EQ(aclGlobalApps[i].reserved, 0U) << i;
    EXPECT_EQ(aclGlobalApps[i].id, kRows[i].id) << i;
    EXPECT_EQ(aclGlobalApps[i].appClass, kRows[i].appClass) << i;
    EXPECT_EQ(aclGlobalApps[i].number, kRows[i].number) << i;
  }
}

TEST(Applications, NamesAreDistinct) {
  std::set<std::string_view> names;
  for (std::size_t i = 0; i < kApplications; ++i) names.insert(aclGlobalApps[i].name);
  EXPECT_EQ(names.size(), kApplications);
}

TEST(Applications, NamesFitIntoTraceLines) {
  for (std::size_t i = 0; i < kApplications; ++i) {
    const std::string_view name = aclGlobalApps[i].name;
    EXPECT_FALSE(name.empty()) << i;
    EXPECT_LE(name.size(), 31U) << i;
    EXPECT_EQ(name.find('%'), std::string_view::npos) << i;
  }
}

TEST(Applications, RowBehindTheLastApplicationIsZero) {
  const AclGlobalApp &row = aclGlobalApps[29];
  EXPECT_EQ(row.reserved, 0U);
  EXPECT_EQ(row.id, 0);
  EXPECT_EQ(row.name, nullptr);
  EXPECT_EQ(row.appClass, 0);
  EXPECT_EQ(row.number, 0);
}

}  // namespace
