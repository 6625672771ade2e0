// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

namespace tool
{

/** Raise the one event that the keys of `-p` describe.
 *
 *  @return true when it was raised, or scheduled and then raised; else prints
 *          what went wrong
 *  @throw std::invalid_argument, std::out_of_range for a number that is none
 */
bool raiseEvent(const DbusConnPtr& bus, const Options& options);

} // namespace tool
