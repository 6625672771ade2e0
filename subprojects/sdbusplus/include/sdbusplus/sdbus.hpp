// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>

namespace sdbusplus
{

/** Time-outs are handed to sd-bus in microseconds; 0 asks for its default
 *  (25 s, or what SYSTEMD_BUS_TIMEOUT says). */
using SdBusDuration = std::chrono::duration<uint64_t, std::micro>;

} // namespace sdbusplus
