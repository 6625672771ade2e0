// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsDaemon.hpp"

#include "io/common/src/Targets.hpp"

bool io::events::commit(const DbusConnPtr& bus, const std::string& messageId,
                        const Arguments& arguments)
{
    return bus::call(bus, target::eventLog, "swlogCommit", messageId, arguments)
        .has_value();
}
