// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "target.hpp"
#include "tool/firmware/list_devices.hpp"

using tool::FirmwareDevice;
using tool::readDevices;

/** A service's list of devices whose firmware it looks after. */
void fuzz::target(Input input)
{
    const auto list = io::parseJson(textOf(input));
    for (const char* group : {"Updatable", "Unupdatable"})
    {
        const std::vector<FirmwareDevice> devices = readDevices(list, group);
        require(devices.size() ==
                    (list.contains(group) ? list[group].size() : 0),
                "every record is a device");
    }
}
