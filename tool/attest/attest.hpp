// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

namespace tool
{

/** Attest the device at `-a`, with the root certificates of the folder `-f`.
 *
 *  @return true on success; what went wrong is in the journal or printed
 *  @throw std::runtime_error when there is no module that can do it
 */
bool attestDevice(const DbusConnPtr& bus, const Options& options);

} // namespace tool
