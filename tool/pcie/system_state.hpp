// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <cstdint>
#include <string>

namespace tool
{

/** Read the chassis power state, such as
 *  "xyz.openbmc_project.State.Chassis.PowerState.On".
 *
 *  @return false with `state` unchanged when it cannot be read; the journal
 *          then tells why
 */
bool getChassisPowerState(const DbusConnPtr& bus, std::string& state);

/** Read how far the host's firmware has come, as a name.
 *
 *  "Unknown" when it cannot be read (the journal tells why), and
 *  "Unknown(0xNN)" for a code without a name.
 */
void getBootProgress(const DbusConnPtr& bus, std::string& text);

/** The name of a UEFI progress code, "Unknown(0xNN)" when it has none. */
std::string bootProgressName(uint8_t code);

} // namespace tool
