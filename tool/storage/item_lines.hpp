// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
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

/** One drive. */
std::string driveLine(const nlohmann::json& item, const std::string& prefix);

/** A drive's power-on hours and byte counters in GB (10^9 bytes); empty when
 *  it has none. */
std::string driveUsageLine(const nlohmann::json& item,
                           const std::string& prefix);

/** Visit a service's drives in the order of their places.
 *
 *  Drives without a place, and those that report a place that an earlier one
 *  has, come as they stand, at once; all others follow by type of place and
 *  number.
 */
void visitDrives(const nlohmann::json& items,
                 const std::function<void(const nlohmann::json&)>& visit);

/** "P/N: …, ", "SKU: …, " or nothing: what the rest of the line lacks. */
std::string driveIdentity(const nlohmann::json& item);

} // namespace tool
