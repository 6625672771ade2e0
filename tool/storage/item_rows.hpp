// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/JsonText.hpp"

#include <nlohmann/json.hpp>

#include <functional>
#include <span>
#include <string>
#include <string_view>

/** What a storage listing keeps of a document: a row for each item.
 *
 *  A row stands in the item's place and is a binary value, which no JSON text
 *  has. It holds the lines that are printed and, for a drive, where it sits.
 */
namespace tool
{

/** The members that the lines of a target's items are made of. */
std::span<const io::Kept> membersOf(std::string_view target);

/** The row of an item of the target.
 *
 *  @param verbose with the line of its counters, for a drive that has them
 *  @throw nlohmann::json::exception for a member of the wrong type
 */
nlohmann::json rowOf(const nlohmann::json& item, std::string_view target,
                     const std::string& prefix, bool verbose);

/** The line of a row; a second one follows a NUL, which no line has. */
std::string_view linesOf(const nlohmann::json& row);

/** Visit a service's drives, items or rows, in the order of their places.
 *
 *  Drives without a place, and those that report a place that an earlier one
 *  has, come as they stand, at once; all others follow by type of place and
 *  number.
 */
void visitDrives(const nlohmann::json& items,
                 const std::function<void(const nlohmann::json&)>& visit);

} // namespace tool
