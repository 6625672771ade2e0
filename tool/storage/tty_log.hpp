// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

namespace tool
{

/** Have the storage services save the TTY log of the device at `-a` in /tmp.
 *
 *  Asks every service that can, or those whose name contains the text of `-s`.
 *  Address 0 is sent as it is.
 *
 *  @return true when at least one log was captured; prints what goes wrong
 */
bool getTTYlog(const DbusConnPtr& bus, const Options& options);

} // namespace tool
