// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

namespace tool
{

/** Run the one operation that `-o` names.
 *
 *  @return true on success; what went wrong has been printed
 *  @throw std::exception as the operation lets it out
 */
bool dispatch(const DbusConnPtr& bus, const Options& options);

} // namespace tool
