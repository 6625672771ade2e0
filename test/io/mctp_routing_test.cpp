// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpRouting.hpp"

#include <gtest/gtest.h>

namespace
{

using mctp::RoutingEntry;
using mctp::RoutingTable;

TEST(DecodeRoutingTable, readsLittleEndianRecords)
{
    const std::vector<uint8_t> bytes{0x1D, 0x02, 0x34, 0x12,
                                     0x00, 0x01, 0x8C, 0x3B};
    const RoutingTable table = mctp::decodeRoutingTable(bytes);
    ASSERT_EQ(table.size(), 1U);
    EXPECT_EQ(table[0].eid, 0x1D);
    EXPECT_EQ(table[0].second, 0x02U);
    EXPECT_EQ(table[0].third, 0x1234);
    EXPECT_EQ(table[0].physicalAddress, 0x3B8C0100U);
}

TEST(DecodeRoutingTable, ignoresATrailingPiece)
{
    for (std::size_t size : {0U, 7U, 8U, 15U, 16U, 17U})
    {
        const std::vector<uint8_t> bytes(size, 0xFF);
        EXPECT_EQ(mctp::decodeRoutingTable(bytes).size(), size / 8);
    }
}

RoutingEntry entryAt(uint32_t address, uint8_t eid)
{
    RoutingEntry entry;
    entry.eid = eid;
    entry.physicalAddress = address;
    return entry;
}

int eidFor(const RoutingTable& table, uint32_t address)
{
    const auto found = mctp::findRoutingEntry(table, address);
    return found ? found->eid : -1;
}

TEST(FindRoutingEntry, takesTheLargestAddressOfTheSameUpperBits)
{
    const RoutingTable table{entryAt(0x3B000001, 2), entryAt(0x3B000000, 1)};
    EXPECT_EQ(eidFor(table, 0x3B000000), 2);
    EXPECT_EQ(eidFor(table, 0x3B0000FF), 2);
}

TEST(FindRoutingEntry, takesTheLastOfSeveralWithOneAddress)
{
    const RoutingTable table{entryAt(0x3B000001, 2), entryAt(0x3B000001, 3),
                             entryAt(0x3B000000, 4)};
    EXPECT_EQ(eidFor(table, 0x3B000000), 3);
}

TEST(FindRoutingEntry, bitsAboveTheLowByteMustAgree)
{
    EXPECT_EQ(eidFor({entryAt(0x3B000100, 2)}, 0x3B000000), -1);
    EXPECT_EQ(eidFor({}, 0x3B000000), -1);
}

TEST(FindRoutingEntry, anAddressWithFFOnTopMustMatchExactly)
{
    const RoutingTable table{entryAt(0xFF000011, 1), entryAt(0xFF000010, 2),
                             entryAt(0xFF000010, 3)};
    EXPECT_EQ(eidFor(table, 0xFF000010), 2);
    EXPECT_EQ(eidFor(table, 0xFF000012), -1);
}

TEST(MctpNames, messageTypesAndBindings)
{
    const std::pair<uint8_t, const char*> names[]{
        {1, "PLDM"}, {2, "NCSI"},       {3, "Ethernet"}, {4, "NVMeMgmtMsg"},
        {5, "SPDM"}, {6, "SECUREDMSG"}, {0x7E, "VDPCI"}, {0x7F, "VDIANA"}};
    for (const auto& [type, name] : names)
    {
        EXPECT_EQ(mctp::messageTypeName(type), name);
    }
    EXPECT_EQ(mctp::messageTypeName(0), "");
    EXPECT_EQ(mctp::bindingName(1), "xyz.openbmc_project.MCTP.Binding.SMBus");
    EXPECT_EQ(mctp::bindingName(2), "xyz.openbmc_project.MCTP.Binding.PCIe");
    EXPECT_EQ(mctp::bindingName(3), "");
}

} // namespace
