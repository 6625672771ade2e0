#include "mctp_model.hpp"

#include "address.hpp"

#include <cstdint>

namespace sim
{

namespace
{

constexpr const char* baseInterface = "xyz.openbmc_project.MCTP.Base";

/** Appends the low bytes of a number, lowest first. */
void append(Json& bytes, uint64_t number, int count)
{
    for (int index = 0; index < count; ++index)
    {
        bytes.push_back((number >> (8 * index)) & 0xff);
    }
}

/** One record of the routing table, 8 bytes. */
void appendEndpoint(Json& bytes, const Node& node)
{
    node.allowOnly({"eid", "second", "third", "address"});
    append(bytes, node.at("eid").number(), 1);
    append(bytes, node.number("second", 0), 1);
    append(bytes, node.number("third", 0), 2);
    append(bytes, readAddress(node.at("address")), 4);
}

} // namespace

MctpModel::MctpModel(World& worldIn, Service& serviceIn, const Node& config) :
    Model(worldIn, serviceIn, config)
{
    config.allowOnly({"model", "path", "endpoints"});
    config.at("endpoints")
        .eachItem([&](const Node& node)
                  { appendEndpoint(routingTable, node); });
    method(baseInterface, "GetRoutingTable", "",
           [this](const Call&)
           {
               Json values = Json::array();
               values.push_back(routingTable);
               return Reply::of("ay", std::move(values));
           });
}

} // namespace sim
