// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

/** Operations on an I2C bus, whose number is the low byte of `-a`. */
namespace tool
{

/** Print whether the bus is a root bus, and else its root bus.
 *
 *  @throw std::logic_error when a multiplexer's name has no number
 */
bool showI2C(const DbusConnPtr& bus, const Options& options);

/** Start an MCTP daemon on the root bus of the bus, unless it has one.
 *
 *  @return false when the bus has none then; the journal tells why
 */
bool enableMctp(const DbusConnPtr& bus, const Options& options);

/** Have the MCTP daemon on the root bus of the bus look for endpoints. */
bool discoverMctp(const DbusConnPtr& bus, const Options& options);

} // namespace tool
