// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

/** Lines of a storage listing, each opened by `prefix`.
 *
 *  Missing members show as their defaults; a member of another type raises
 *  nlohmann::json::exception. Texts of a service end at a NUL.
 */
namespace tool
{

/** One volume; sizes in GiB (2^30 bytes) and KB (2^10 bytes). */
std::string volumeLine(const nlohmann::json& item, const std::string& prefix);

/** One storage pool; sizes in GiB. */
std::string poolLine(const nlohmann::json& item, const std::string& prefix);

struct Location
{
    std::string type;
    uint8_t ordinal{0};
};

/** Where a drive sits; an empty type when it does not say. */
Location locationOf(const nlohmann::json& item);

/** One drive. */
std::string driveLine(const nlohmann::json& item, const std::string& prefix);

/** A drive's power-on hours and byte counters in GB (10^9 bytes); empty when
 *  it has none. */
std::string driveUsageLine(const nlohmann::json& item,
                           const std::string& prefix);

/** "P/N: …, ", "SKU: …, " or nothing: what the rest of the line lacks. */
std::string driveIdentity(const nlohmann::json& item);

} // namespace tool
