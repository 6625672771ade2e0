// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/config.hpp"

namespace sim::spdm
{

/** Reads one element of "faults"; errors as with parseDeviceConfig. */
Fault readFault(const Node& node);

} // namespace sim::spdm
