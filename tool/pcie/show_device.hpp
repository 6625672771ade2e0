// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

namespace tool
{

/** Print one PCIe device's document, as the service of `-s` reports it.
 *
 *  @return true when it was printed; prints what goes wrong itself
 */
bool showDeviceInfo(const DbusConnPtr& bus, const Options& options);

} // namespace tool
