// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/item_lines.hpp"
#include "tool/storage/item_rows.hpp"

#include <gtest/gtest.h>

using nlohmann::json;

namespace tool
{

namespace
{

std::string volume(const char* text)
{
    return volumeLine(json::parse(text), "  ");
}

std::string pool(const char* text)
{
    return poolLine(json::parse(text), "  ");
}

std::string drive(const char* text)
{
    return driveLine(json::parse(text), "  ");
}

std::string usage(const char* text)
{
    return driveUsageLine(json::parse(text), "  ");
}

TEST(VolumeLine, showsEverything)
{
    EXPECT_EQ(volume(R"({"Name":"vd1","Internal":{"ResourceId":406},
        "RAIDType":"RAID1","CapacityBytes":1610612736,"StripSizeBytes":65536,
        "ReadCachePolicy":"ReadAhead","WriteCachePolicy":"WriteBack",
        "WriteCacheState":"Protected"})"),
              "  vd1, ResId 406, RAID1, 1.50GiB; StripSize=64KB, ReadAhead, "
              "WriteBack, WtCacheState=Protected");
}

TEST(VolumeLine, missingMembersAreZeroAndEmpty)
{
    EXPECT_EQ(volume("{}"), "  , ResId 0, , 0.00GiB; StripSize=0KB, , , "
                            "WtCacheState=");
}

TEST(PoolLine, typesKeepTheirTrailingBlank)
{
    EXPECT_EQ(pool(R"({"Internal":{"ResourceId":3},
        "SupportedRAIDTypes":["RAID0","RAID1"],
        "Capacity":{"Data":{"AllocatedBytes":2147483648,
                            "ConsumedBytes":1073741824}},
        "RemainingCapacityPercent":50})"),
              "  Pool 3: RAID0 RAID1 , Capacity 2.00GiB, Consumed 1.00GiB, "
              "Remain 50");
}

TEST(PoolLine, missingPercentageIs255)
{
    EXPECT_EQ(pool(R"({"Capacity":{}})"),
              "  Pool 0: , Capacity 0.00GiB, Consumed 0.00GiB, Remain 255");
}

TEST(DriveLine, showsEverything)
{
    EXPECT_EQ(drive(R"({"Name":"Drive 3","Internal":{"ResourceId":22,
        "TypeString":"SSD"},"PhysicalLocation":{"PartLocation":{
        "LocationType":"Slot","LocationOrdinalValue":3}},"Manufacturer":"M",
        "Model":"X1","PartNumber":"P9","SerialNumber":"S","FirmwareVersion":
        "F"})"),
              "  Slot3, ResId 22, Drive 3, SSD, M, X1, P/N: P9, S/N: S, "
              "F/W: F");
}

TEST(DriveLine, ordinalDependsOnWhatIsMissing)
{
    EXPECT_EQ(drive("{}"), "  0, ResId 0, , , , , S/N: , F/W: ");
    EXPECT_EQ(drive(R"({"PhysicalLocation":{}})"),
              "  255, ResId 0, , , , , S/N: , F/W: ");
}

struct Identity
{
    const char* item;
    const char* piece;
};

class DriveIdentity : public testing::TestWithParam<Identity>
{
};

TEST_P(DriveIdentity, showsWhatTheLineLacks)
{
    EXPECT_EQ(driveIdentity(json::parse(GetParam().item)), GetParam().piece);
}

INSTANTIATE_TEST_SUITE_P(
    Pieces, DriveIdentity,
    testing::Values(
        Identity{"{}", ""},
        Identity{R"({"PartNumber":"P1","Model":"XYZ"})", "P/N: P1, "},
        Identity{R"({"PartNumber":"P1","Model":"XP1Z"})", ""},
        Identity{R"({"SKU":"K","SerialNumber":"S"})", "SKU: K, "},
        Identity{R"({"SKU":"S","SerialNumber":"S"})", ""},
        Identity{R"({"PartNumber":"P1","SKU":"K","Model":"M"})", "P/N: P1, "}));

TEST(DriveUsage, sasShowsProcessedBytes)
{
    EXPECT_EQ(usage(R"({"Protocol":"SAS","Oem":{"Mervax":{"POH":1234,
        "ProcessedBytes":2500000000}}})"),
              "      POH: 1234,  ProcessedBytes: 2.50(GB)");
}

TEST(DriveUsage, sataShowsWrittenAndReadBytes)
{
    EXPECT_EQ(usage(R"({"Protocol":"SATA","Oem":{"Mervax":{"POH":9,
        "WriteBytes":1000000000,"ReadBytes":10000000}}})"),
              "      POH: 9,  WriteBytes: 1.00(GB),  ReadBytes: 0.01(GB)");
}

TEST(DriveUsage, otherProtocolsShowNothing)
{
    EXPECT_EQ(usage(R"({"Protocol":"NVMe","Oem":{"Mervax":{"POH":9}}})"), "");
    EXPECT_EQ(usage(R"({"Protocol":"SAS","Oem":{}})"), "");
    EXPECT_EQ(usage("{}"), "");
}

TEST(DriveUsage, protocolMustBeText)
{
    EXPECT_THROW(usage(R"({"Protocol":3,"Oem":{"Mervax":{}}})"),
                 json::type_error);
    EXPECT_THROW(usage(R"({"Oem":{"Mervax":{}}})"), json::type_error);
}

/** The order of places in a listing; a drive without one has ordinal 0. */
TEST(DriveOrder, unplacedFirstThenBySlot)
{
    const json items = json::parse(R"([
        {"PhysicalLocation":{"PartLocation":{"LocationType":"Slot",
         "LocationOrdinalValue":5}}},
        {"Name":"none"},
        {"PhysicalLocation":{"PartLocation":{"LocationType":"Slot",
         "LocationOrdinalValue":2}}},
        {"Name":"again","PhysicalLocation":{"PartLocation":{"LocationType":
         "Slot","LocationOrdinalValue":5}}},
        {"PhysicalLocation":{"PartLocation":{"LocationType":"Bay",
         "LocationOrdinalValue":9}}}])");
    std::vector<std::string> lines;
    visitDrives(items, [&lines](const json& item)
                { lines.push_back(driveLine(item, "")); });
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "0, ResId 0, none, , , , S/N: , F/W: ",
                         "Slot5, ResId 0, again, , , , S/N: , F/W: ",
                         "Bay9, ResId 0, , , , , S/N: , F/W: ",
                         "Slot2, ResId 0, , , , , S/N: , F/W: ",
                         "Slot5, ResId 0, , , , , S/N: , F/W: "}));
}

} // namespace

} // namespace tool
