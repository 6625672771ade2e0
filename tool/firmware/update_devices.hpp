#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

#include <sdbusplus/bus/match.hpp>

#include <optional>

/** Have the service of `-s` update every device of a part number ("PN=" in
 *  `-p`) with the file of `-f`.
 *
 *  @param[out] progress watches for the service's progress signals; it has to
 *              live until the update is over
 *  @return true when the service started; prints what goes wrong itself
 */
bool updateDevices(const DbusConnPtr& bus, const Options& options,
                   std::optional<sdbusplus::bus::match_t>& progress);
