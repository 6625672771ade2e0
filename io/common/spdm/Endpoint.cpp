#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/MctpRouting.hpp"
#include "io/common/src/ObjectMapper.hpp"

#include <phosphor-logging/lg2.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace mctp::spdm
{

namespace
{

/** Reply of GetObject, a{sas}, in the mapper's order. */
using Implementers =
    std::vector<std::pair<std::string, std::vector<std::string>>>;

std::vector<std::string> namesOf(Implementers& implementers)
{
    std::vector<std::string> names;
    names.reserve(implementers.size());
    for (auto& [name, interfaces] : implementers)
    {
        names.push_back(std::move(name));
    }
    return names;
}

} // namespace

std::vector<std::string> SpdmLib::getMCTPServices()
{
    try
    {
        sdbusplus::message_t reply = io::bus::callMethod(
            connection, io::mapper::service, io::mapper::path,
            io::mapper::interface, "GetObject", std::string(objectPath),
            std::vector<std::string>{baseInterface});
        if (reply.is_method_error())
        {
            lg2::error("[ERR] Failed to get MCTP services");
            return {};
        }
        Implementers implementers;
        reply.read(implementers);
        return namesOf(implementers);
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Failed to get MCTP services. {E}", "E", failure);
        return {};
    }
}

bool SpdmLib::findEndpoint(const std::string& service, uint32_t address,
                           uint8_t& eid)
{
    try
    {
        sdbusplus::message_t reply = io::bus::callMethod(
            connection, service, objectPath, baseInterface, "GetRoutingTable");
        if (reply.is_method_error())
        {
            lg2::error("[ERR] Failed to get EID table from {S}", "S", service);
            return false;
        }
        std::vector<uint8_t> bytes;
        reply.read(bytes);
        const RoutingTable table = decodeRoutingTable(bytes);
        const auto found =
            std::find_if(table.begin(), table.end(),
                         [address](const RoutingEntry& entry)
                         { return entry.physicalAddress == address; });
        if (found == table.end())
        {
            return false;
        }
        eid = found->eid;
        return true;
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Exception in getting EID table from {S}. {E}", "S",
                   service, "E", failure);
        return false;
    }
}

bool SpdmLib::lookUpTarget(uint32_t address)
{
    for (std::string& service : getMCTPServices())
    {
        if (findEndpoint(service, address, targetEid))
        {
            mctpService = std::move(service);
            return true;
        }
    }
    return false;
}

} // namespace mctp::spdm
