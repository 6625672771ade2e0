// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/JsonText.hpp"
#include "tool/options.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tool
{

/** Print the drives, volumes or pools that storage services report.
 *
 *  Asks the service of `-s`, or each service that has such a target, about the
 *  device at `-a`. Prints what goes wrong itself.
 *
 *  @param[in,out] prefix opens every line; an empty one becomes two blanks
 *  @return true when every service was asked and printed
 */
bool listDeviceTargets(const DbusConnPtr& bus, const Options& options,
                       std::string& prefix);

/** The same with the usual prefix. */
bool listTargets(const DbusConnPtr& bus, const Options& options);

/** What a listing wants of a service's document: rows in place of items.
 *
 *  Both arguments have to outlive it. An item without a row, because a member
 *  is of the wrong type, stays an item.
 */
io::Wanted rowsWanted(const Options& options, const std::string& prefix);

/** Print the rows or items of a service.
 *
 *  @throw nlohmann::json::exception where it comes to an item with a member of
 *         the wrong type
 */
void printItems(const nlohmann::json& items, const Options& options,
                const std::string& prefix);

/** Print one drive and, with `-v`, its usage counters.
 *
 *  @throw nlohmann::json::exception for a member of the wrong type
 */
void printDriveLine(const nlohmann::json& item, const Options& options,
                    const std::string& prefix);

} // namespace tool
