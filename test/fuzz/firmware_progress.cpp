// SPDX-License-Identifier: Apache-2.0
#include "messages.hpp"
#include "target.hpp"
#include "tool/firmware/progress.hpp"

using tool::deviceUpdateStatusChangedCallback;

/** The bodies of DeviceUpdateStatusChanged, one behind each 0. */
void fuzz::target(Input input)
{
    Reader reader(input);
    while (!reader.empty())
    {
        sdbusplus::message_t message = Signal().add(reader.text()).seal();
        try
        {
            deviceUpdateStatusChangedCallback(message);
            require(!printed().empty() && printed().back() == '\n',
                    "every signal is told");
        }
        catch (const Exit& exit)
        {
            const bool failed =
                printed().find("Update failed") != std::string::npos;
            require(exit.status == (failed ? 255 : 0),
                    "the status is that of the update");
            return;
        }
    }
}
