// SPDX-License-Identifier: Apache-2.0
#include "tool/pcie/device.hpp"

#include "io/common/src/Text.hpp"
#include "tool/json/read.hpp"

#include <array>
#include <utility>

using nlohmann::json;

namespace tool
{

namespace
{

using io::Kept;
using io::text::cat;
using io::text::upperHex;

constexpr std::array<std::pair<const char*, uint32_t PcieDevice::*>, 8>
    numericKeys{{
        {"LocationNumber", &PcieDevice::locationNumber},
        {"SlotNumber", &PcieDevice::slotNumber},
        {"PCIeAddress", &PcieDevice::pcieAddress},
        {"VendorId", &PcieDevice::vendorId},
        {"DeviceId", &PcieDevice::deviceId},
        {"SubsystemVendorId", &PcieDevice::subsystemVendorId},
        {"SubsystemId", &PcieDevice::subsystemId},
        {"ClassCode", &PcieDevice::classCode},
    }};

constexpr std::array<Kept, 5> inventoryMembers{{
    {"Name"},
    {"PartNumber"},
    {"SKU"},
    {"SerialNumber"},
    {"Manufacturer"},
}};
constexpr std::array<Kept, 2> softwareMembers{{{"Version"}, {"ReleaseDate"}}};
constexpr std::array<Kept, 2> functionMembers{{{"DeviceClass"}, {"ClassCode"}}};
constexpr std::array<Kept, 1> functionItems{{{io::everyItem, functionMembers}}};
constexpr std::array<Kept, 1> ncsiMembers{{{"PackageId"}}};
constexpr std::array<Kept, 4> portDataMembers{{
    {"PermanentAddress"},
    {"TxUtilization"},
    {"RxUtilization"},
    {"NCSI", ncsiMembers},
}};
constexpr std::array<Kept, 1> oemMembers{{{"Mervax", portDataMembers}}};
constexpr std::array<Kept, 5> portMembers{{
    {"PortId"},
    {"Id"},
    {"Oem", oemMembers},
    {"LinkStatus"},
    {"CurrentSpeedGbps"},
}};
constexpr std::array<Kept, 1> portItems{{{io::everyItem, portMembers}}};
constexpr std::array<Kept, 12> recordMembers{{
    {"LocationNumber"},
    {"SlotNumber"},
    {"PCIeAddress"},
    {"VendorId"},
    {"DeviceId"},
    {"SubsystemVendorId"},
    {"SubsystemId"},
    {"ClassCode"},
    {"PCIeDevice", inventoryMembers},
    {"SoftwareInventorySet", softwareMembers},
    {"PCIeFunctions", functionItems},
    {"Ports", portItems},
}};

/** A text member; empty when it is missing or something else than text. */
std::string textOrEmpty(const json& object, const char* key)
{
    const json* member = findMember(object, key);
    return member != nullptr && member->is_string() ? member->get<std::string>()
                                                    : std::string();
}

std::string firmwareText(const json& software)
{
    const std::string version = readText(software, "Version");
    if (version.empty())
    {
        return "";
    }
    const std::string date = readText(software, "ReleaseDate");
    return ", " + version + (date.empty() ? "" : ", " + date);
}

/** ", Class(code)" of an adapter's first function. */
std::string functionText(const json& record)
{
    const json* functions = findMember(record, "PCIeFunctions");
    if (functions == nullptr || !functions->is_array() || functions->empty())
    {
        return "";
    }
    const json& first = functions->front();
    const json* deviceClass = findMember(first, "DeviceClass");
    const json* classCode = findMember(first, "ClassCode");
    if (deviceClass == nullptr || classCode == nullptr)
    {
        return "";
    }
    return ", " + deviceClass->get<std::string>() + "(" +
           classCode->get<std::string>() + ")";
}

std::string decimal(const json& number)
{
    return std::to_string(readValue<uint8_t>(number));
}

/** Utilisation and NC-SI package, where a port tells them. */
std::string portExtras(const json& oem)
{
    std::string text;
    const json* transmit = findMember(oem, "TxUtilization");
    const json* receive = findMember(oem, "RxUtilization");
    if (transmit != nullptr && receive != nullptr)
    {
        text +=
            ";  Tx/Rx Util: " + decimal(*transmit) + "/" + decimal(*receive);
    }
    const json* ncsi = findMember(oem, "NCSI");
    const json* package =
        ncsi == nullptr ? nullptr : findMember(*ncsi, "PackageId");
    if (package != nullptr)
    {
        text += ";    PackageId: " + decimal(*package);
    }
    return text;
}

std::string portLabel(const json& port, std::size_t position)
{
    std::string label = readText(port, "PortId");
    if (label.empty())
    {
        label = readText(port, "Id");
    }
    return label.empty() ? std::to_string(position) : label;
}

} // namespace

std::span<const Kept> membersOfDevice()
{
    return recordMembers;
}

PcieDevice readPcieDevice(const json& record)
{
    PcieDevice device;
    for (const auto& [key, field] : numericKeys)
    {
        // As 64 bits, since only for those a boolean is no number.
        device.*field =
            static_cast<uint32_t>(readOr(record, {key}, uint64_t{0}));
    }
    const json* inventory = findMember(record, "PCIeDevice");
    if (inventory != nullptr && inventory->is_object())
    {
        device.name = readText(*inventory, "Name");
    }
    return device;
}

bool isStorageController(const PcieDevice& device)
{
    return device.classCode == 0x010400 || device.classCode == 0x010700;
}

std::string trailingText(const PcieDevice& device, const json& record)
{
    const json* software = findMember(record, "SoftwareInventorySet");
    if (software != nullptr)
    {
        return firmwareText(*software);
    }
    const bool adapter =
        device.name.size() > 7 && device.name.starts_with("Adapter ");
    return adapter ? functionText(record) : "";
}

std::string deviceLine(const PcieDevice& device, const std::string& service,
                       uint8_t eid, const std::string& trailing)
{
    return cat({device.locationNumber == 0 ? "Onboard" : "   Slot",
                " ",
                io::text::decimal(device.slotNumber, 2),
                ", Addr 0x",
                upperHex(device.pcieAddress, 8),
                ", [",
                upperHex(device.vendorId, 4),
                " ",
                upperHex(device.deviceId, 4),
                " ",
                upperHex(device.subsystemVendorId, 4),
                " ",
                upperHex(device.subsystemId, 4),
                "], ",
                service,
                ", ",
                device.name.c_str(),
                ", EID(0x",
                upperHex(eid, 2),
                ")",
                trailing.c_str()});
}

std::string partLine(const json& pcieDevice)
{
    const std::string part = textOrEmpty(pcieDevice, "PartNumber");
    const std::string sku = textOrEmpty(pcieDevice, "SKU");
    const std::string serial = textOrEmpty(pcieDevice, "SerialNumber");
    const std::string maker = textOrEmpty(pcieDevice, "Manufacturer");
    if (part.empty() && sku.empty() && serial.empty() && maker.empty())
    {
        return "";
    }
    return cat({"            P/N: ", part.c_str(), ";  SKU: ", sku.c_str(),
                ";  S/N: ", serial.c_str(), ";  Manufacture: ", maker.c_str()});
}

std::string portLine(const json& port, std::size_t position)
{
    std::string mac;
    std::string extras;
    const json* oem = findMember(port, "Oem");
    const json* data = oem == nullptr ? nullptr : findMember(*oem, "Mervax");
    if (data != nullptr)
    {
        mac = data->is_object() ? readText(*data, "PermanentAddress") : "";
        extras = portExtras(*data);
    }
    return cat({"            [Port ", portLabel(port, position).c_str(), "]  ",
                mac.c_str(), ";  State: ",
                io::text::alignRight(readText(port, "LinkStatus").c_str(), 8),
                ";  Speed(Gbps): ",
                io::text::fixed(readOr(port, {"CurrentSpeedGbps"}, 0.0), 1),
                extras.c_str()});
}

} // namespace tool
