#include "manager/decode/entry_widths.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>

namespace aclmgr {
namespace {

using Widths = std::map<std::uint32_t, std::size_t>;

const Widths kConditions = {
    {0, 8},   {1, 8},   {3, 2},   {4, 4},   {5, 2},   {6, 2},   {7, 2},   {10, 0},  {11, 0},
    {12, 6},  {13, 6},  {14, 2},  {15, 2},  {16, 2},  {17, 2},  {18, 4},  {19, 12}, {20, 12},
    {21, 12}, {22, 12}, {23, 36}, {24, 36}, {25, 70}, {26, 8},  {27, 12}, {28, 12}, {29, 12},
    {30, 12}, {31, 12}, {32, 12}, {33, 12}, {34, 8},  {35, 8},  {36, 12}, {37, 1},  {38, 1},
    {39, 2},  {40, 8},  {41, 8},  {42, 4},  {43, 4},  {44, 0},  {45, 4},  {46, 4},  {47, 64},
    {48, 12}, {49, 12}, {50, 12}, {51, 4},  {52, 4},  {53, 16}, {54, 8},  {55, 12}, {56, 2},
    {57, 1},  {58, 12}, {59, 8},  {60, 8}};

const Widths kActions = {
    {1, 0},  {2, 0},   {3, 0},   {4, 0},  {5, 33},  {6, 0},   {7, 1},   {8, 0},   {9, 4},   {10, 0},
    {11, 0}, {12, 38}, {13, 36}, {14, 1}, {15, 1},  {17, 1},  {18, 0},  {19, 0},  {20, 4},  {21, 4},
    {22, 4}, {23, 4},  {24, 4},  {25, 4}, {34, 33}, {35, 33}, {36, 66}, {37, 33}, {38, 33}, {39, 4},
    {40, 4}, {41, 4},  {42, 0},  {43, 0}, {44, 6},  {45, 6},  {46, 4},  {47, 33}, {48, 0},  {49, 0},
    {50, 2}, {51, 1},  {52, 1},  {53, 1}, {54, 0},  {56, 0},  {57, 0},  {58, 0},  {62, 2},  {63, 2},
    {64, 2}, {65, 4},  {66, 0},  {67, 0}, {68, 0},  {69, 4},  {70, 1},  {71, 4}};

void expectWidths(std::optional<std::size_t> (*widthOf)(std::uint32_t) noexcept,
                  const Widths &expected) {
  for (std::uint32_t type = 0; type < 70000; ++type) {
    const auto row = expected.find(type);
    const std::optional<std::size_t> width =
        row == expected.end() ? std::nullopt : std::optional(row->second);
    EXPECT_EQ(widthOf(type), width) << type;
  }
}

TEST(EntryWidths, EveryConditionHasItsWidthAndNoOtherTypeExists) {
  expectWidths(conditionWidth, kConditions);
}

TEST(EntryWidths, EveryActionHasItsWidthAndNoOtherTypeExists) {
  expectWidths(actionWidth, kActions);
}

}  // namespace
}  // namespace aclmgr
