// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/raid_levels.hpp"

#include <array>

using nlohmann::json;

namespace tool
{

namespace
{

struct RaidLevel
{
    const char* name;
    unsigned minDrives;
    unsigned maxDrives;
    unsigned minSpans;
    unsigned maxSpans;
    bool evenDriveCount;
    bool hotSpares;
};

// As the controllers document them, the uneven ones included: RAID1E, RAID50
// and RAID60 take no hot spares, RAID10Triple takes an odd number of drives.
constexpr std::array levels{
    RaidLevel{"RAID0", 1, 32, 1, 1, false, false},
    RaidLevel{"RAID1", 2, 2, 1, 1, true, true},
    RaidLevel{"RAID1Triple", 3, 3, 1, 1, false, false},
    RaidLevel{"RAID10Triple", 6, 24, 2, 8, false, true},
    RaidLevel{"RAID5", 3, 32, 1, 1, false, true},
    RaidLevel{"RAID6", 4, 32, 1, 1, false, true},
    RaidLevel{"RAID00", 2, 16, 2, 8, false, false},
    RaidLevel{"RAID10", 4, 16, 2, 8, true, true},
    RaidLevel{"RAID1E", 3, 32, 1, 1, false, false},
    RaidLevel{"RAID50", 6, 240, 2, 8, false, false},
    RaidLevel{"RAID60", 8, 240, 2, 8, false, false},
};

json buildRules()
{
    json rules = json::object();
    for (const RaidLevel& level : levels)
    {
        rules[level.name] = {{"MinPd", level.minDrives},
                             {"MaxPd", level.maxDrives},
                             {"MinSpan", level.minSpans},
                             {"MaxSpan", level.maxSpans},
                             {"EvenDriveCount", level.evenDriveCount},
                             {"SupportHotspare", level.hotSpares}};
    }
    return rules;
}

} // namespace

const json& raidLevelRules()
{
    static const json rules = buildRules();
    return rules;
}

} // namespace tool
