// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"
#include "tool/json/print.hpp"

#include <gtest/gtest.h>

using nlohmann::json;

namespace tool
{

namespace
{

std::string printed(const char* text, unsigned level = 0)
{
    const json document = json::parse(text);
    return printedBy([&] { printJson(document, level); });
}

struct Case
{
    const char* name;
    const char* document;
    const char* output;
};

class PrintJson : public testing::TestWithParam<Case>
{
};

TEST_P(PrintJson, printsTheLayout)
{
    EXPECT_EQ(printed(GetParam().document), GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    Layout, PrintJson,
    testing::Values(
        Case{"NullPrintsNothing", "null", ""},
        Case{"EmptyObjectPrintsNothing", "{}", ""},
        Case{"EmptyArrayPrintsNothing", "[]", ""},
        Case{"String", R"({"Name":"vd\"1"})",
             "Name                     : \"vd\\\"1\" (string)\n"},
        Case{"Boolean", R"({"Boot":true})",
             "Boot                     : true (boolean)\n"},
        Case{"Null", R"({"Gone":null})",
             "Gone                     : null (null)\n"},
        Case{"LongKeyIsNotCut", R"({"ABCDEFGHIJKLMNOPQRSTUVWXYZ":1})",
             "ABCDEFGHIJKLMNOPQRSTUVWXYZ : 1 (number)\n"},
        Case{"VendorIdInFourHexDigits", R"({"PCIeVendorId":4318})",
             "PCIeVendorId             : 0x10de (number)\n"},
        Case{"VendorIdIsPadded", R"({"PCIeVendorId":33})",
             "PCIeVendorId             : 0x0021 (number)\n"},
        Case{"FunctionIdKeepsLowSixteenBits", R"({"PCIeFunctionId":70000})",
             "PCIeFunctionId           : 0x1170 (number)\n"},
        Case{"TopLevelAddressIsUnpadded", R"({"BusAddress":9})",
             "BusAddress               : 0x9 (number)\n"},
        Case{"TopLevelOutOfBand", R"({"OOBPort":255})",
             "OOBPort                  : 0xff (number)\n"},
        Case{"SubstringsAreCaseSensitive", R"({"pciSlot":10})",
             "pciSlot                  : 10 (number)\n"},
        Case{"NegativeNumberInHex", R"({"PCIeSlot":-1})",
             "PCIeSlot                 : 0xffffffff (number)\n"},
        Case{"NegativeIdKeepsLowSixteenBits", R"({"PCIeId":-2})",
             "PCIeId                   : 0xfffe (number)\n"},
        Case{"FloatIsCutToUnsigned", R"({"PCIeSlot":3.9})",
             "PCIeSlot                 : 0x3 (number)\n"},
        Case{"FloatOutOfRangeIsZero", R"({"PCIeSlot":1e300})",
             "PCIeSlot                 : 0x0 (number)\n"},
        Case{"PciTextStaysText", R"({"PCIeName":"x"})",
             "PCIeName                 : \"x\" (string)\n"},
        Case{"PciBooleanStaysBoolean", R"({"PCIeId":true})",
             "PCIeId                   : true (boolean)\n"},
        Case{"EmptyContainersOfAMember", R"({"A":[],"O":{}})",
             "A (array, 0)\n[\n]\nO (object, 0)\n{\n}\n"},
        Case{"ObjectMember", R"({"Dev":{"Name":"x","N":7}})",
             "Dev (object, 2)\n{\n"
             "    N                        : 7 (number)\n"
             "    Name                     : \"x\" (string)\n}\n"},
        Case{"SecondLevelIdIsDecimal", R"({"Dev":{"DeviceID":17}})",
             "Dev (object, 1)\n{\n"
             "    DeviceID                 : 17 (number)\n}\n"},
        Case{"SecondLevelAddressIsDecimal", R"({"Dev":{"Address":17}})",
             "Dev (object, 1)\n{\n"
             "    Address                  : 17 (number)\n}\n"},
        Case{"SecondLevelPciIsHex", R"({"Dev":{"PCIeAddr":17}})",
             "Dev (object, 1)\n{\n"
             "    PCIeAddr                 : 0x11 (number)\n}\n"},
        Case{"ArrayMember", R"({"A":[1,"b",{"c":2},[],[{"d":3}]]})",
             "A (array, 5)\n[\n    1\n    \"b\"\n    {\n"
             "       c                        : 2 (number)\n    },\n"
             "    {\n    },\n    {\n"
             "       (object, 1)\n       {\n"
             "           d                        : 3 (number)\n       }\n"
             "    },\n]\n"},
        Case{"ObjectInObject", R"({"A":{"B":{"C":1}}})",
             "A (object, 1)\n{\n"
             "    B                        (object, 1)\n    {\n"
             "       C                        : 1 (number)\n    }\n}\n"},
        Case{"ArrayInObject", R"({"A":{"B":[1,{"C":2}]}})",
             "A (object, 1)\n{\n"
             "    B                        (array, 2)\n    [\n"
             "        1\n        {\n"
             "           C                        : 2 (number)\n        },\n"
             "    ]\n}\n"},
        Case{"ArrayDocumentOfContainers", R"([{"a":1},[2]])",
             "(object, 1)\n{\n    a                        : 1 (number)\n}\n"
             "(array, 1)\n[\n    2\n]\n"}),
    [](const auto& test) { return test.param.name; });

TEST(PrintJsonLevels, indentIsOneBlankShortOfFourALevel)
{
    EXPECT_EQ(printed(R"({"a":1})", 2),
              std::string(7, ' ') + "a                        : 1 (number)\n");
    EXPECT_EQ(printed(R"({"a":1})", 3),
              std::string(11, ' ') + "a                        : 1 (number)\n");
}

TEST(PrintJsonLevels, deeperObjectsIndentByEightBlanksAStep)
{
    const std::string text =
        printed(R"({"a":{"b":{"c":{"d":{"e":{"f":1}}}}}})");
    EXPECT_NE(text.find("\n       c (object, 1)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n               e (object, 1)\n"), std::string::npos)
        << text;
}

TEST(PrintJsonErrors, scalarInAnArrayDocumentHasNoKey)
{
    EXPECT_THROW(printed("[1]"), nlohmann::detail::invalid_iterator);
    EXPECT_THROW(printed(R"({"A":[[1]]})"), nlohmann::detail::invalid_iterator);
    EXPECT_THROW(printed("5"), nlohmann::detail::invalid_iterator);
}

TEST(PrintJsonErrors, textThatIsNotUtf8IsRefused)
{
    const json document{{"Name", "\xff\xfe"}};
    EXPECT_THROW(printedBy([&] { printJson(document, 0); }),
                 nlohmann::detail::type_error);
}

} // namespace

} // namespace tool
