// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpRouting.hpp"
#include "target.hpp"

/** A routing table, and an address that is looked up in it. */
void fuzz::target(Input input)
{
    Reader reader(input);
    const uint32_t address = reader.word();
    const mctp::RoutingTable table = mctp::decodeRoutingTable(reader.rest());
    require(table.size() == reader.rest().size() / 8,
            "an entry for every 8 bytes");
    const auto found = mctp::findRoutingEntry(table, address);
    const bool exact = address >> 24 == 0xFF;
    bool expected = false;
    for (const mctp::RoutingEntry& entry : table)
    {
        const uint32_t mask = exact ? 0xFFFFFFFF : 0xFFFFFF00;
        const bool fits = ((entry.physicalAddress ^ address) & mask) == 0;
        expected = expected || fits;
        require(!fits || found.has_value(), "an endpoint is found");
        require(!fits || exact || !found ||
                    entry.physicalAddress <= found->physicalAddress,
                "the largest address wins");
        mctp::messageTypeName(entry.eid);
        mctp::bindingName(entry.eid);
    }
    require(expected == found.has_value(), "nothing else is found");
}
