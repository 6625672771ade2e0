// SPDX-License-Identifier: Apache-2.0
#include "sim/models/raid_levels.hpp"

#include <map>

namespace sim
{

namespace
{

struct Level
{
    size_t fewest;
    size_t most;
    /** The count must be a multiple of this. */
    size_t multiple;
    /** Each datum is kept that often. */
    size_t copies;
    /** Drives' worth of parity, all spans together. */
    size_t parity;
};

// With two spans where a level has any.
const std::map<std::string, Level> levels{
    {"RAID0", {1, 32, 1, 1, 0}},      {"RAID1", {2, 2, 2, 2, 0}},
    {"RAID1Triple", {3, 3, 3, 3, 0}}, {"RAID10Triple", {6, 24, 3, 3, 0}},
    {"RAID5", {3, 32, 1, 1, 1}},      {"RAID6", {4, 32, 1, 1, 2}},
    {"RAID00", {2, 16, 1, 1, 0}},     {"RAID10", {4, 16, 2, 2, 0}},
    {"RAID1E", {3, 32, 1, 2, 0}},     {"RAID50", {6, 240, 1, 1, 2}},
    {"RAID60", {8, 240, 1, 1, 4}},
};

} // namespace

bool acceptsDrives(const std::string& level, size_t drives)
{
    auto found = levels.find(level);
    return found != levels.end() && drives >= found->second.fewest &&
           drives <= found->second.most && drives % found->second.multiple == 0;
}

size_t dataDrives(const std::string& level, size_t drives)
{
    const Level& rule = levels.at(level);
    return drives / rule.copies - rule.parity;
}

} // namespace sim
