// SPDX-License-Identifier: Apache-2.0
#include "tool/inventory/drive_backplane.hpp"

#include <gtest/gtest.h>

namespace tool
{

namespace
{

using storage::BackplaneProperties;
using storage::DriveBackplane;

BackplaneProperties completeProperties()
{
    return {{"I2CBusNumber", uint8_t{3}},
            {"StartSlotNumber", uint8_t{8}},
            {"NumberOfSlots", uint8_t{8}},
            {"IsBootKit", true},
            {"Name", std::string("Backplane 1")},
            {"Description", std::string("8x 2.5\" NVMe")},
            {"FormFactor", std::string("2.5\"")},
            {"LocationReference", std::string("Front")},
            {"PCIeSlots", std::vector<uint8_t>{1, 2}}};
}

TEST(ReadBackplane, takesEveryProperty)
{
    const DriveBackplane read = storage::readBackplane(completeProperties());
    EXPECT_EQ(read.i2cBus, 3);
    EXPECT_EQ(read.startSlot, 8);
    EXPECT_EQ(read.numberOfSlots, 8);
    EXPECT_TRUE(read.isBootKit);
    EXPECT_EQ(read.name, "Backplane 1");
    EXPECT_EQ(read.description, "8x 2.5\" NVMe");
    EXPECT_EQ(read.formFactor, "2.5\"");
    EXPECT_EQ(read.location, "Front");
    EXPECT_EQ(read.pcieSlots, (std::vector<uint8_t>{1, 2}));
}

void expectDefaults(const DriveBackplane& read)
{
    EXPECT_EQ(read.i2cBus, 255);
    EXPECT_EQ(read.startSlot, 0);
    EXPECT_EQ(read.numberOfSlots, 0);
    EXPECT_FALSE(read.isBootKit);
    EXPECT_EQ(read.name, "");
    EXPECT_EQ(read.description, "");
    EXPECT_EQ(read.formFactor, "");
    EXPECT_EQ(read.location, "");
    EXPECT_TRUE(read.pcieSlots.empty());
}

TEST(ReadBackplane, missingPropertiesLeaveTheirDefaults)
{
    expectDefaults(storage::readBackplane({}));
    expectDefaults(storage::readBackplane({{"Other", uint8_t{1}}}));
}

TEST(ReadBackplane, propertiesOfAnotherTypeLeaveTheirDefaults)
{
    BackplaneProperties wrong = completeProperties();
    for (auto& [name, value] : wrong)
    {
        value = std::monostate();
    }
    expectDefaults(storage::readBackplane(wrong));
    for (auto& [name, value] : wrong)
    {
        const bool isByte = name == "I2CBusNumber" ||
                            name == "StartSlotNumber" ||
                            name == "NumberOfSlots";
        if (isByte)
        {
            value = std::string("7");
        }
        else
        {
            value = uint8_t{7};
        }
    }
    expectDefaults(storage::readBackplane(wrong));
}

TEST(FormatBackplane, theRangeOfBaysEndsOnePastTheLast)
{
    EXPECT_EQ(formatBackplane(storage::readBackplane(completeProperties())),
              "Backplane 1: i2c-3, bay[8-16], formfactor=2.5\", "
              "location=Front");
}

TEST(FormatBackplane, defaults)
{
    EXPECT_EQ(storage::formatBackplane({}),
              ": i2c-255, bay[0-0], formfactor=, location=");
}

TEST(FormatBackplane, theRangeIsNotCutToAByte)
{
    DriveBackplane last;
    last.i2cBus = 0;
    last.startSlot = 255;
    last.numberOfSlots = 255;
    EXPECT_EQ(storage::formatBackplane(last),
              ": i2c-0, bay[255-510], formfactor=, location=");
}

TEST(FormatBackplane, textIsTakenAsItStands)
{
    DriveBackplane odd;
    odd.name = "%s%n";
    odd.formFactor = std::string(5000, 'f');
    EXPECT_EQ(storage::formatBackplane(odd),
              "%s%n: i2c-255, bay[0-0], formfactor=" + odd.formFactor +
                  ", location=");
}

} // namespace

} // namespace tool
