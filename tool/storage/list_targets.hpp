#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

#include <string>

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
