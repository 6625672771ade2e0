// SPDX-License-Identifier: Apache-2.0
#include "tool/firmware/list_devices.hpp"

#include <gtest/gtest.h>

using nlohmann::json;

namespace tool
{

namespace
{

std::string complaint(const char* text)
{
    try
    {
        readDevices(json::parse(text), "Updatable");
    }
    catch (const json::exception& failure)
    {
        return failure.what();
    }
    return "no exception";
}

TEST(FirmwareDevices, areReadFromTheirGroup)
{
    const json list = json::parse(R"({"Updatable":[{"PartNumber":"P",
        "Name":"N","Model":"M","Identifier":"I","FirmwareVersion":"F",
        "UpdateMethod":"U","ControllerAddress":9175040},{}],
        "Unupdatable":[{"Name":"X"}]})");
    const std::vector<FirmwareDevice> devices = readDevices(list, "Updatable");
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].partNumber, "P");
    EXPECT_EQ(devices[0].name, "N");
    EXPECT_EQ(devices[0].model, "M");
    EXPECT_EQ(devices[0].identifier, "I");
    EXPECT_EQ(devices[0].firmwareVersion, "F");
    EXPECT_EQ(devices[0].updateMethod, "U");
    EXPECT_EQ(devices[0].controllerAddress, 0x8c0000U);
    EXPECT_EQ(devices[1].name, "");
    EXPECT_EQ(devices[1].controllerAddress, 0U);
    EXPECT_EQ(readDevices(list, "Unupdatable").size(), 1U);
}

TEST(FirmwareDevices, aGroupThatIsMissingIsEmpty)
{
    EXPECT_TRUE(readDevices(json::object(), "Updatable").empty());
}

TEST(FirmwareDevices, wrongTypesRaiseTheLibrarysErrors)
{
    EXPECT_EQ(complaint("[]"), "[json.exception.type_error.306] cannot use "
                               "value() with array");
    EXPECT_EQ(complaint(R"({"Updatable":[5]})"),
              "[json.exception.type_error.306] cannot use value() with number");
    EXPECT_EQ(complaint(R"({"Updatable":[{"Name":null}]})"),
              "[json.exception.type_error.302] type must be string, but is "
              "null");
    EXPECT_EQ(complaint(R"({"Updatable":[{"ControllerAddress":"0x8c"}]})"),
              "[json.exception.type_error.302] type must be number, but is "
              "string");
    EXPECT_EQ(complaint(R"({"Updatable":{}})"),
              "[json.exception.type_error.303] incompatible ReferenceType for "
              "get_ref, actual type is object");
}

} // namespace

} // namespace tool
