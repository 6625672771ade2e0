// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tool/options.hpp"

#include <nlohmann/json.hpp>

namespace tool
{

/** Turn the `-p` text of create and edit into a request document.
 *
 *  The text is a list of KEY=VALUE pairs separated by commas. "Drives" and
 *  "Hotspares" are lists of resource ids separated by colons; they go into the
 *  volume's "Links". "Count" asks for several volumes, which share the drives
 *  evenly. Any other pair becomes a member of the volume: a boolean, a number
 *  when it begins with a digit, else text. "DrvCnt" leaves the choice of drives
 *  to the service: the operation becomes "autocfg".
 *
 *  @param[out] request {"Volume": …}, or an array of such for several
 *  @return false when there is nothing to request, or when the drives cannot
 *          be shared evenly, which is printed
 *  @throw std::invalid_argument, std::out_of_range for a number that does not
 *         convert; std::length_error for more volumes than a bus message holds;
 *         nlohmann::json::type_error for a "Links" that is no object
 */
bool parseVolumeParams(Options& options, nlohmann::json& request);

} // namespace tool
