#include "io/common/src/MctpRouting.hpp"

#include <phosphor-logging/lg2.hpp>

#include <algorithm>
#include <exception>

namespace mctp
{

namespace
{
constexpr std::size_t recordSize = 8;
constexpr uint8_t bindingSmbus = 1;
constexpr uint8_t bindingPcie = 2;

RoutingEntry decodeRecord(std::span<const uint8_t> record)
{
    RoutingEntry entry;
    entry.eid = record[0];
    entry.second = record[1];
    entry.third = static_cast<uint16_t>(record[2] | record[3] << 8);
    entry.physicalAddress = record[4] | uint32_t{record[5]} << 8 |
                            uint32_t{record[6]} << 16 |
                            uint32_t{record[7]} << 24;
    return entry;
}
} // namespace

RoutingTable decodeRoutingTable(std::span<const uint8_t> bytes)
{
    RoutingTable table;
    table.reserve(bytes.size() / recordSize);
    for (; bytes.size() >= recordSize; bytes = bytes.subspan(recordSize))
    {
        table.push_back(decodeRecord(bytes.first(recordSize)));
    }
    return table;
}

std::string_view messageTypeName(uint8_t type)
{
    switch (type)
    {
        case 0x01:
            return "PLDM";
        case 0x02:
            return "NCSI";
        case 0x03:
            return "Ethernet";
        case 0x04:
            return "NVMeMgmtMsg";
        case 0x05:
            return "SPDM";
        case 0x06:
            return "SECUREDMSG";
        case 0x7E:
            return "VDPCI";
        case 0x7F:
            return "VDIANA";
        default:
            return "";
    }
}

std::string_view bindingName(uint8_t binding)
{
    switch (binding)
    {
        case bindingSmbus:
            return "xyz.openbmc_project.MCTP.Binding.SMBus";
        case bindingPcie:
            return "xyz.openbmc_project.MCTP.Binding.PCIe";
        default:
            return "";
    }
}

} // namespace mctp

mctp::RoutingTable getRoutingTable(const DbusConnPtr& bus)
{
    // The journal names the binding by its number and the one below it.
    constexpr unsigned binding = mctp::bindingPcie;
    constexpr unsigned subBinding = 0;
    try
    {
        sdbusplus::message_t reply = io::bus::callMethod(
            bus, "xyz.openbmc_project.MCTP_PCIe", mctp::objectPath,
            mctp::baseInterface, "GetRoutingTable");
        if (reply.is_method_error())
        {
            lg2::error("[ERR] Get routing table of binding {BID}/{SBID} failed",
                       "BID", binding, "SBID", subBinding);
            return {};
        }
        std::vector<uint8_t> bytes;
        reply.read(bytes);
        return mctp::decodeRoutingTable(bytes);
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Get routing table of binding {BID}/{SBID}. "
                   "exception: {EXCPT}",
                   "BID", binding, "SBID", subBinding, "EXCPT", failure);
        return {};
    }
}

std::optional<mctp::RoutingEntry>
findRoutingEntry(const mctp::RoutingTable& table, uint32_t pcieAddress)
{
    if (pcieAddress >> 24 == 0xFF)
    {
        const auto found =
            std::find_if(table.begin(), table.end(),
                         [&](const auto& entry)
                         { return entry.physicalAddress == pcieAddress; });
        return found == table.end() ? std::nullopt : std::optional(*found);
    }
    std::optional<mctp::RoutingEntry> best;
    for (const mctp::RoutingEntry& entry : table)
    {
        const bool related = (entry.physicalAddress ^ pcieAddress) <= 0xFF;
        if (related &&
            (!best || entry.physicalAddress >= best->physicalAddress))
        {
            best = entry;
        }
    }
    return best;
}
