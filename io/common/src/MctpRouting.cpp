// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpRouting.hpp"

#include "io/common/src/Targets.hpp"

#include <phosphor-logging/lg2.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace mctp
{

namespace
{
constexpr std::size_t recordSize = 8;
constexpr uint8_t bindingSmbus = 1;
constexpr uint8_t bindingPcie = 2;

RoutingEntry decodeRecord(std::span<const uint8_t> record)
{
    return {.eid = record[0],
            .second = record[1],
            .third = static_cast<uint16_t>(record[2] | record[3] << 8),
            .physicalAddress = record[4] | uint32_t{record[5]} << 8 |
                               uint32_t{record[6]} << 16 |
                               uint32_t{record[7]} << 24};
}
} // namespace

RoutingTable decodeRoutingTable(std::span<const uint8_t> bytes)
{
    RoutingTable table;
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
            return io::target::mctpSmbus;
        case bindingPcie:
            return io::target::mctpPcieBinding;
        default:
            return "";
    }
}

io::bus::Answer<RoutingTable> fetchRoutingTable(const DbusConnPtr& bus,
                                                const io::bus::Target& daemon)
{
    const auto bytes =
        io::bus::ask<std::vector<uint8_t>>(bus, daemon, "GetRoutingTable");
    if (!bytes)
    {
        return std::unexpected(bytes.error());
    }
    return decodeRoutingTable(*bytes);
}

RoutingTable getRoutingTable(const DbusConnPtr& bus)
{
    // The journal names the binding by its number and the one below it.
    constexpr unsigned binding = bindingPcie;
    constexpr unsigned subBinding = 0;
    try
    {
        auto table = fetchRoutingTable(bus, io::target::mctpPcie);
        if (table)
        {
            return std::move(*table);
        }
        lg2::error("[ERR] Get routing table of binding {BID}/{SBID} failed",
                   "BID", binding, "SBID", subBinding);
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Get routing table of binding {BID}/{SBID}. "
                   "exception: {EXCPT}",
                   "BID", binding, "SBID", subBinding, "EXCPT", failure);
    }
    return {};
}

std::optional<RoutingEntry> findExactEntry(const RoutingTable& table,
                                           uint32_t address)
{
    const auto found = std::find_if(table.begin(), table.end(),
                                    [address](const RoutingEntry& entry) {
                                        return entry.physicalAddress == address;
                                    });
    return found == table.end() ? std::nullopt : std::optional(*found);
}

std::optional<RoutingEntry> findRoutingEntry(const RoutingTable& table,
                                             uint32_t pcieAddress)
{
    if (pcieAddress >> 24 == 0xFF)
    {
        return findExactEntry(table, pcieAddress);
    }
    std::optional<RoutingEntry> best;
    for (const RoutingEntry& entry : table)
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

} // namespace mctp
