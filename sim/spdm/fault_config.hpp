#pragma once

#include "sim/spdm/config.hpp"

#include <string>

namespace sim::spdm
{

/** Reads one element of "faults"; errors as with parseDeviceConfig. */
Fault readFault(const nlohmann::json& json, const std::string& place);

} // namespace sim::spdm
