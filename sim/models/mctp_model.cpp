// SPDX-License-Identifier: Apache-2.0
#include "sim/models/mctp_model.hpp"

#include "sim/scenario/address.hpp"

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

} // namespace

MctpModel::MctpModel(Bus& busIn, Service& serviceIn, const Node& config) :
    Model(busIn, serviceIn, config),
    devices(config.text("roots", "/run/bmcsim/roots"))
{
    config.allowOnly({"model", "path", "endpoints", "roots"});
    config.at("endpoints")
        .eachItem([&](const Node& node) { addEndpoint(node); });
    method(baseInterface, "GetRoutingTable", "",
           [this](const Call&) { return Reply::one("ay", routingTable); });
    method(baseInterface, "SendReceiveMctpMessagePayload", "yayq",
           [this](const Call& call) { return devices.exchange(call); });
}

/** One record of the routing table, 8 bytes, and what is behind it. */
void MctpModel::addEndpoint(const Node& node)
{
    node.allowOnly({"eid", "second", "third", "address", "spdm"});
    append(routingTable, node.at("eid").number(), 1);
    append(routingTable, node.number("second", 0), 1);
    append(routingTable, node.number("third", 0), 2);
    append(routingTable, readAddress(node.at("address")), 4);
    if (const auto device = node.find("spdm"))
    {
        devices.add(static_cast<uint8_t>(node.at("eid").number()), *device);
    }
}

} // namespace sim
