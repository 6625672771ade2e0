// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "target.hpp"
#include "tool/json/read.hpp"
#include "tool/pcie/device.hpp"

using tool::deviceLine;
using tool::findMember;
using tool::isStorageController;
using tool::partLine;
using tool::PcieDevice;
using tool::portLine;
using tool::readPcieDevice;
using tool::trailingText;

using nlohmann::json;

namespace
{

void ports(const json& record)
{
    const json* list = findMember(record, "Ports");
    if (list == nullptr)
    {
        return;
    }
    std::size_t position = 0;
    for (const json& port : *list)
    {
        const std::string line = portLine(port, position++);
        fuzz::require(line.find("[Port ") != std::string::npos,
                      "a port has its line");
    }
}

} // namespace

/** An inventory service's device records. */
void fuzz::target(Input input)
{
    const json document = io::parseJson(textOf(input));
    const json* records = findMember(document, "PCIeDeviceComplexes");
    if (records == nullptr)
    {
        return;
    }
    for (const json& record : *records)
    {
        const PcieDevice device = readPcieDevice(record);
        const std::string line =
            deviceLine(device, "rsa", 9, trailingText(device, record));
        require(line.find("EID(0x09)") != std::string::npos,
                "a device has its line");
        if (const json* inventory = findMember(record, "PCIeDevice"))
        {
            const std::string part = partLine(*inventory);
            require(part.empty() ||
                        part.find("Manufacture: ") != std::string::npos,
                    "the line is whole");
            ports(record);
        }
        isStorageController(device);
    }
}
