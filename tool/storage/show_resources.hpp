// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <string>

namespace tool
{

/** Does `show` know the target as one of a storage service? */
bool isStorageTarget(const std::string& target);

/** Print all that the service of `-s` holds for the target of `-t`.
 *
 *  @return true when the document has the target's member and was printed;
 *          prints what a service or its document lacks
 *  @throw as fetchResources() and printJson()
 */
bool showStorageResources(const DbusConnPtr& bus, const Options& options);

} // namespace tool
