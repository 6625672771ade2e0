// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/** MCTP endpoints as a daemon's routing table lists them (DSP0236). */
namespace mctp
{

/** One record of a daemon's GetRoutingTable reply: 8 bytes on the wire. */
struct RoutingEntry
{
    uint8_t eid{0};              //!< byte 0: the endpoint id
    uint32_t second{0};          //!< byte 1, carried
    uint16_t third{0};           //!< bytes 2 and 3, little-endian, carried
    uint32_t physicalAddress{0}; //!< bytes 4 to 7, little-endian
};

using RoutingTable = std::vector<RoutingEntry>;

/** Decode a GetRoutingTable reply; a last piece under 8 bytes is ignored. */
RoutingTable decodeRoutingTable(std::span<const uint8_t> bytes);

/** Name of an MCTP message type (DSP0239), empty when it has none here. */
std::string_view messageTypeName(uint8_t type);

/** D-Bus interface of an MCTP binding, empty when it has none here. */
std::string_view bindingName(uint8_t binding);

/** Fetch a daemon's routing table.
 *
 *  @throw sdbusplus::exception::SdBusError when it gives no answer
 */
io::bus::Answer<RoutingTable> fetchRoutingTable(const DbusConnPtr& bus,
                                                const io::bus::Target& daemon);

/** Fetch the routing table of the MCTP-over-PCIe daemon.
 *
 *  Empty when the daemon is absent or fails; the journal then tells why.
 */
RoutingTable getRoutingTable(const DbusConnPtr& bus);

/** Find the endpoint of a PCIe device.
 *
 *  An address with 0xFF on top must match exactly. Any other is matched by its
 *  upper 24 bits, and of the entries that share them the one with the largest
 *  address is taken, the last of several.
 */
std::optional<RoutingEntry> findRoutingEntry(const RoutingTable& table,
                                             uint32_t pcieAddress);

/** Find the first endpoint with exactly this address. */
std::optional<RoutingEntry> findExactEntry(const RoutingTable& table,
                                           uint32_t address);

} // namespace mctp
