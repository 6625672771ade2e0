#include "target.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"
#include "tool/pcie/device.hpp"

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
        fuzz::require(line.starts_with("            [Port "),
                      "a port has its line");
    }
}

} // namespace

/** An inventory service's device records. */
void fuzz::target(Input input)
{
    const json document = parseDocument(textOf(input));
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
        require(line.find(", Addr 0x") != std::string::npos,
                "a device has its line");
        if (const json* inventory = findMember(record, "PCIeDevice"))
        {
            const std::string part = partLine(*inventory);
            require(part.find('\0') == std::string::npos, "texts end at NULs");
            ports(record);
        }
        isStorageController(device);
    }
}
