// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/raid_levels.hpp"

#include <gtest/gtest.h>

using nlohmann::json;

namespace tool
{

TEST(RaidLevels, areAsTheControllersHaveThem)
{
    // Fewest and most drives, fewest and most spans, even number of drives,
    // hot spares.
    const json table = json::parse(R"({
        "RAID0": [1, 32, 1, 1, false, false],
        "RAID1": [2, 2, 1, 1, true, true],
        "RAID1Triple": [3, 3, 1, 1, false, false],
        "RAID10Triple": [6, 24, 2, 8, false, true],
        "RAID5": [3, 32, 1, 1, false, true],
        "RAID6": [4, 32, 1, 1, false, true],
        "RAID00": [2, 16, 2, 8, false, false],
        "RAID10": [4, 16, 2, 8, true, true],
        "RAID1E": [3, 32, 1, 1, false, false],
        "RAID50": [6, 240, 2, 8, false, false],
        "RAID60": [8, 240, 2, 8, false, false]
    })");
    json expected;
    for (const auto& [level, row] : table.items())
    {
        expected[level] = {
            {"MinPd", row[0]},          {"MaxPd", row[1]},
            {"MinSpan", row[2]},        {"MaxSpan", row[3]},
            {"EvenDriveCount", row[4]}, {"SupportHotspare", row[5]}};
    }
    EXPECT_EQ(raidLevelRules(), expected);
    EXPECT_EQ(&raidLevelRules(), &raidLevelRules());
}

} // namespace tool
