// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <string>
#include <utility>
#include <vector>

/** The BMC's event log service. */
namespace io::events
{

/** Message arguments by name; they go out in this order. */
using Arguments = std::vector<std::pair<std::string, std::string>>;

/** Hand an entry to the event log service and wait for its answer.
 *
 *  @param messageId id in the event registry, without the registry's name
 *  @return false when the service answered with an error
 *  @throw sdbusplus::exception::SdBusError when it gave no answer
 */
bool commit(const DbusConnPtr& bus, const std::string& messageId,
            const Arguments& arguments);

} // namespace io::events
