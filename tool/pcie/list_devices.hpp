// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

namespace tool
{

/** The interface of an inventory service with PCIe devices. */
inline constexpr const char* pcieInterface = "com.mervax.Inventory.PCIeDevice";

/** Print the state of the system and every PCIe device with its ports,
 *  endpoint id and, under a storage controller, drives and volumes.
 *
 *  @return true when the last service asked was printed (also when there is
 *          none); prints what goes wrong itself
 */
bool listPCIeDevices(const DbusConnPtr& bus, const Options& options);

} // namespace tool
