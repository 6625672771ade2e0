#pragma once

#include "io/common/src/Options.hpp"

#include <nlohmann/json.hpp>

#include <string>

/** Lines of a storage listing, each opened by `prefix`.
 *
 *  Missing members print as their defaults; a member of another type raises
 *  nlohmann::json::exception.
 */

/** Print one volume; sizes in GiB (2^30 bytes) and KB (2^10 bytes). */
void printVolumeLine(const nlohmann::json& item, const std::string& prefix);

/** Print one storage pool; sizes in GiB. */
void printPoolLine(const nlohmann::json& item, const std::string& prefix);

/** Print one drive and, with `-v`, its usage counters in GB (10^9 bytes). */
void printDriveLine(const nlohmann::json& item, const Options& options,
                    const std::string& prefix);

/** Print a service's drives in the order of their places.
 *
 *  Drives without a place, and those that report a place that an earlier one
 *  has, come as they stand; all others follow by type of place and number.
 */
void printDrives(const nlohmann::json& items, const Options& options,
                 const std::string& prefix);

/** "P/N: …, ", "SKU: …, " or nothing: what the rest of the line lacks. */
std::string driveIdentity(const nlohmann::json& item);
