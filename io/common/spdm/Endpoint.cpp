// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/MctpRouting.hpp"
#include "io/common/src/ObjectMapper.hpp"
#include "io/common/src/Targets.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>
#include <utility>

namespace mctp::spdm
{

std::vector<std::string> SpdmLib::getMCTPServices()
{
    try
    {
        auto services = io::mapper::getServices(
            connection, io::target::mctpPath, io::target::mctpBase);
        if (services)
        {
            return std::move(*services);
        }
        lg2::error("[ERR] Failed to get MCTP services");
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Failed to get MCTP services. {E}", "E", failure);
    }
    return {};
}

bool SpdmLib::findEndpoint(const std::string& service, uint32_t address,
                           uint8_t& eid)
{
    try
    {
        const auto table =
            fetchRoutingTable(connection, io::target::mctpDaemon(service));
        if (!table)
        {
            lg2::error("[ERR] Failed to get EID table from {S}", "S", service);
            return false;
        }
        const auto found = findExactEntry(*table, address);
        if (found)
        {
            eid = found->eid;
        }
        return found.has_value();
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
