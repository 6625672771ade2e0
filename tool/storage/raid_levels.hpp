// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

namespace tool
{

/** What each RAID level allows, by the level's name.
 *
 *  Members of each: "MinPd" and "MaxPd" (drives), "MinSpan" and "MaxSpan"
 *  (spans), "EvenDriveCount" and "SupportHotspare". The services decide what
 *  they accept; nothing is refused here on the strength of this table.
 */
const nlohmann::json& raidLevelRules();

} // namespace tool
