// SPDX-License-Identifier: Apache-2.0
#include "tool/pcie/device.hpp"

#include <gtest/gtest.h>

using nlohmann::json;

namespace tool
{

namespace
{

std::string trailing(const char* text)
{
    const json record = json::parse(text);
    return trailingText(readPcieDevice(record), record);
}

std::string lineOf(const char* text, uint8_t eid = 0)
{
    const json record = json::parse(text);
    const PcieDevice device = readPcieDevice(record);
    return deviceLine(device, "rsa", eid, "");
}

TEST(DeviceLine, slotAndNumbers)
{
    EXPECT_EQ(lineOf(R"({"LocationNumber":1,"SlotNumber":3,
        "PCIeAddress":9175040,"VendorId":4096,"DeviceId":20,
        "SubsystemVendorId":1,"SubsystemId":43981,
        "PCIeDevice":{"Name":"RAID"}})",
                     0x1d),
              "   Slot 03, Addr 0x008C0000, [1000 0014 0001 ABCD], rsa, RAID, "
              "EID(0x1D)");
}

TEST(DeviceLine, locationZeroIsOnboardWithItsSlotNumber)
{
    EXPECT_EQ(lineOf("{}"), "Onboard 00, Addr 0x00000000, [0000 0000 0000 "
                            "0000], rsa, , EID(0x00)");
    EXPECT_EQ(lineOf(R"({"SlotNumber":12})").substr(0, 10), "Onboard 12");
}

TEST(DeviceRecord, numbersMustBeNumbers)
{
    EXPECT_THROW(readPcieDevice(json::parse(R"({"VendorId":"1000"})")),
                 json::type_error);
    EXPECT_THROW(readPcieDevice(json(5)), json::type_error);
}

TEST(TrailingText, firmwareVersionThenDate)
{
    EXPECT_EQ(trailing(R"({"SoftwareInventorySet":{"Version":"1.2",
                           "ReleaseDate":"2026-01-02"}})"),
              ", 1.2, 2026-01-02");
    EXPECT_EQ(trailing(R"({"SoftwareInventorySet":{"Version":"1.2"}})"),
              ", 1.2");
}

TEST(TrailingText, dateWithoutVersionIsNotShown)
{
    EXPECT_EQ(
        trailing(R"({"SoftwareInventorySet":{"ReleaseDate":"2026-01-02"}})"),
        "");
}

TEST(TrailingText, adapterShowsTheClassOfItsFirstFunction)
{
    const char* functions = R"("PCIeFunctions":[{"DeviceClass":
        "NetworkController","ClassCode":"0x020000"},{"DeviceClass":"x"}]})";
    const auto text = [&](const char* start)
    { return trailing((std::string(start) + functions).c_str()); };
    EXPECT_EQ(text(R"({"PCIeDevice":{"Name":"Adapter 1"},)"),
              ", NetworkController(0x020000)");
    EXPECT_EQ(text(R"({"PCIeDevice":{"Name":"Adapter "},)"),
              ", NetworkController(0x020000)");
    EXPECT_EQ(text(R"({"PCIeDevice":{"Name":"Adapter"},)"), "");
    EXPECT_EQ(text(R"({"PCIeDevice":{"Name":"Adapters"},)"), "");
    EXPECT_EQ(text(R"({"PCIeDevice":{"Name":"My Adapter 1"},)"), "");
    EXPECT_EQ(
        text(
            R"({"SoftwareInventorySet":{},"PCIeDevice":{"Name":"Adapter 1"},)"),
        "");
}

TEST(TrailingText, adapterWithoutUsableFunctions)
{
    for (const char* functions :
         {"[]", "{}", "null", "[5]", R"([{"DeviceClass":"a"}])"})
    {
        std::string record = R"({"PCIeDevice":{"Name":"Adapter 1"},)";
        record += R"("PCIeFunctions":)";
        record += functions;
        record += '}';
        EXPECT_EQ(trailing(record.c_str()), "") << functions;
    }
}

TEST(PartLine, isThereWhenOneOfTheFourIs)
{
    EXPECT_EQ(partLine(json::parse(R"({"PartNumber":"","SKU":""})")), "");
    EXPECT_EQ(partLine(json::parse(R"({"SKU":7})")), "");
    EXPECT_EQ(partLine(json::parse(R"({"SKU":"K"})")),
              "            P/N: ;  SKU: K;  S/N: ;  Manufacture: ");
    EXPECT_EQ(partLine(json::parse(R"({"PartNumber":"P","SKU":"K",
        "SerialNumber":"S","Manufacturer":"M"})")),
              "            P/N: P;  SKU: K;  S/N: S;  Manufacture: M");
}

std::string portOf(const char* text)
{
    return portLine(json::parse(text), 0);
}

TEST(PartLine, eachTextEndsAtItsNul)
{
    const json data = json::parse(R"({"PartNumber": "P\u0000x", "SKU": "K",
        "SerialNumber": "\u0000", "Manufacturer": "M\u0000"})");
    EXPECT_EQ(partLine(data),
              "            P/N: P;  SKU: K;  S/N: ;  Manufacture: M");
}

TEST(PortLine, labelFallsBackToIdThenToThePosition)
{
    EXPECT_EQ(portOf("{}"),
              "            [Port 0]  ;  State:         ;  Speed(Gbps): 0.0");
    EXPECT_EQ(portOf(R"({"Id":"p7"})").substr(12, 9), "[Port p7]");
    EXPECT_EQ(portOf(R"({"Id":"p7","PortId":"A"})").substr(12, 8), "[Port A]");
    EXPECT_EQ(portLine(json::object(), 4).substr(12, 8), "[Port 4]");
}

TEST(PortLine, showsAddressStateSpeedAndExtras)
{
    EXPECT_EQ(
        portOf(R"({"PortId":"1","LinkStatus":"LinkUp","CurrentSpeedGbps":25,
        "Oem":{"Mervax":{"PermanentAddress":"02:00:00:00:00:01",
        "TxUtilization":3,"RxUtilization":5,"NCSI":{"PackageId":2}}}})"),
        "            [Port 1]  02:00:00:00:00:01;  State:   LinkUp;  "
        "Speed(Gbps): 25.0;  Tx/Rx Util: 3/5;    PackageId: 2");
}

TEST(PortLine, utilisationNeedsBothDirections)
{
    EXPECT_EQ(portOf(R"({"Oem":{"Mervax":{"TxUtilization":3}}})"),
              portOf("{}"));
    EXPECT_EQ(portOf(R"({"Oem":{"Mervax":{"RxUtilization":3}}})"),
              portOf("{}"));
}

TEST(PortLine, speedMustBeANumber)
{
    EXPECT_THROW(portOf(R"({"CurrentSpeedGbps":"fast"})"), json::type_error);
}

TEST(StorageController, raidAndSasClassesOnly)
{
    PcieDevice device;
    for (uint32_t code : {0x010400U, 0x010700U})
    {
        device.classCode = code;
        EXPECT_TRUE(isStorageController(device));
    }
    for (uint32_t code : {0U, 0x010401U, 0x010800U, 0x020000U})
    {
        device.classCode = code;
        EXPECT_FALSE(isStorageController(device));
    }
}

} // namespace

} // namespace tool
