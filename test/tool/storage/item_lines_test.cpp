#include "test/support.hpp"
#include "tool/storage/item_lines.hpp"
#include "tool/storage/query.hpp"

#include <gtest/gtest.h>

using nlohmann::json;

namespace
{

std::string volumeLine(const char* text)
{
    return printedBy([&] { printVolumeLine(json::parse(text), "  "); });
}

std::string poolLine(const char* text)
{
    return printedBy([&] { printPoolLine(json::parse(text), "  "); });
}

std::string driveLines(const char* text, bool verbose = false)
{
    Options options;
    options.verbose = verbose;
    return printedBy([&] { printDriveLine(json::parse(text), options, "  "); });
}

TEST(VolumeLine, showsEverything)
{
    EXPECT_EQ(volumeLine(R"({"Name":"vd1","Internal":{"ResourceId":406},
        "RAIDType":"RAID1","CapacityBytes":1610612736,"StripSizeBytes":65536,
        "ReadCachePolicy":"ReadAhead","WriteCachePolicy":"WriteBack",
        "WriteCacheState":"Protected"})"),
              "  vd1, ResId 406, RAID1, 1.50GiB; StripSize=64KB, ReadAhead, "
              "WriteBack, WtCacheState=Protected\n");
}

TEST(VolumeLine, missingMembersAreZeroAndEmpty)
{
    EXPECT_EQ(volumeLine("{}"), "  , ResId 0, , 0.00GiB; StripSize=0KB, , , "
                                "WtCacheState=\n");
}

TEST(PoolLine, typesKeepTheirTrailingBlank)
{
    EXPECT_EQ(poolLine(R"({"Internal":{"ResourceId":3},
        "SupportedRAIDTypes":["RAID0","RAID1"],
        "Capacity":{"Data":{"AllocatedBytes":2147483648,
                            "ConsumedBytes":1073741824}},
        "RemainingCapacityPercent":50})"),
              "  Pool 3: RAID0 RAID1 , Capacity 2.00GiB, Consumed 1.00GiB, "
              "Remain 50\n");
}

TEST(PoolLine, missingPercentageIs255)
{
    EXPECT_EQ(poolLine(R"({"Capacity":{}})"),
              "  Pool 0: , Capacity 0.00GiB, Consumed 0.00GiB, Remain 255\n");
}

TEST(DriveLine, showsEverything)
{
    EXPECT_EQ(driveLines(R"({"Name":"Drive 3","Internal":{"ResourceId":22,
        "TypeString":"SSD"},"PhysicalLocation":{"PartLocation":{
        "LocationType":"Slot","LocationOrdinalValue":3}},"Manufacturer":"M",
        "Model":"X1","PartNumber":"P9","SerialNumber":"S","FirmwareVersion":
        "F"})"),
              "  Slot3, ResId 22, Drive 3, SSD, M, X1, P/N: P9, S/N: S, "
              "F/W: F\n");
}

TEST(DriveLine, ordinalDependsOnWhatIsMissing)
{
    EXPECT_EQ(driveLines("{}"), "  0, ResId 0, , , , , S/N: , F/W: \n");
    EXPECT_EQ(driveLines(R"({"PhysicalLocation":{}})"),
              "  255, ResId 0, , , , , S/N: , F/W: \n");
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
    EXPECT_EQ(driveLines(R"({"Protocol":"SAS","Oem":{"Mervax":{"POH":1234,
        "ProcessedBytes":2500000000}}})",
                         true),
              "  0, ResId 0, , , , , S/N: , F/W: \n"
              "      POH: 1234,  ProcessedBytes: 2.50(GB)\n");
}

TEST(DriveUsage, sataShowsWrittenAndReadBytes)
{
    EXPECT_EQ(driveLines(R"({"Protocol":"SATA","Oem":{"Mervax":{"POH":9,
        "WriteBytes":1000000000,"ReadBytes":10000000}}})",
                         true),
              "  0, ResId 0, , , , , S/N: , F/W: \n"
              "      POH: 9,  WriteBytes: 1.00(GB),  ReadBytes: 0.01(GB)\n");
}

TEST(DriveUsage, otherProtocolsShowNothing)
{
    const char* one = "  0, ResId 0, , , , , S/N: , F/W: \n";
    EXPECT_EQ(
        driveLines(R"({"Protocol":"NVMe","Oem":{"Mervax":{"POH":9}}})", true),
        one);
    EXPECT_EQ(driveLines(R"({"Protocol":"SAS","Oem":{}})", true), one);
    EXPECT_EQ(driveLines(R"({"Protocol":"SAS","Oem":{"Mervax":{"POH":9}}})"),
              one);
}

TEST(DriveUsage, protocolMustBeText)
{
    EXPECT_THROW(driveLines(R"({"Protocol":3,"Oem":{"Mervax":{}}})", true),
                 json::type_error);
    EXPECT_THROW(driveLines(R"({"Oem":{"Mervax":{}}})", true),
                 json::type_error);
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
    const std::string text =
        printedBy([&] { printDrives(items, Options{}, ""); });
    EXPECT_EQ(text, "0, ResId 0, none, , , , S/N: , F/W: \n"
                    "Slot5, ResId 0, again, , , , S/N: , F/W: \n"
                    "Bay9, ResId 0, , , , , S/N: , F/W: \n"
                    "Slot2, ResId 0, , , , , S/N: , F/W: \n"
                    "Slot5, ResId 0, , , , , S/N: , F/W: \n");
}

TEST(StorageMethod, nvmeKeepsItsDrivesUnderAnotherName)
{
    EXPECT_EQ(storageMethod("nvmed", "Drives"), "GetAllDrives");
    EXPECT_EQ(storageMethod("nvmed", "Volumes"), "GetVolumes");
    EXPECT_EQ(storageMethod("rsa", "Drives"), "GetDrives");
    EXPECT_EQ(storageMethod("lsa", "StoragePools"), "GetStoragePools");
}

} // namespace
