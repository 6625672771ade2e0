// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/I2CBus.hpp"
#include "io/common/src/MctpI2CBus.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using io::I2CBus;
using io::MctpI2CBus;

uint8_t rootOf(uint8_t bus, std::string_view name)
{
    return I2CBus::rootBusByName(bus, name, "name");
}

TEST(RootBusByName, anAdapterWithoutMuxIsARoot)
{
    EXPECT_EQ(rootOf(3, "1e78a180.i2c-bus"), 3);
    EXPECT_EQ(rootOf(0, ""), 0);
    EXPECT_EQ(rootOf(9, "i2c-3-MUX (chan_id 1)"), 9);
    EXPECT_EQ(rootOf(255, "i2c-"), 255);
}

TEST(RootBusByName, aChannelLeadsToItsMultiplexersBus)
{
    EXPECT_EQ(rootOf(17, "i2c-3-mux (chan_id 1)"), 3);
    EXPECT_EQ(rootOf(33, "i2c-17-mux (chan_id 0)"), 17);
    EXPECT_EQ(rootOf(17, "i2c-03mux"), 3);
    EXPECT_EQ(rootOf(17, "i2c- 3-mux"), 3);
}

TEST(RootBusByName, keepsTheLowByteOfTheNumber)
{
    EXPECT_EQ(rootOf(17, "i2c-259-mux (chan_id 1)"), 3);
    EXPECT_EQ(rootOf(17, "i2c--1-mux"), 255);
}

TEST(RootBusByName, anotherNameWithMuxIsUnknown)
{
    EXPECT_EQ(rootOf(17, "pca9548-mux i2c-3"), I2CBus::unknown);
    EXPECT_EQ(rootOf(17, "mux"), I2CBus::unknown);
    EXPECT_EQ(rootOf(17, " i2c-3-mux"), I2CBus::unknown);
}

TEST(RootBusByName, aNameWithoutANumberIsAnException)
{
    EXPECT_THROW(rootOf(17, "i2c-mux"), std::invalid_argument);
    EXPECT_THROW(rootOf(17, "i2c-x3-mux"), std::invalid_argument);
    EXPECT_THROW(rootOf(17, "i2c-99999999999999999999mux"), std::out_of_range);
}

TEST(BusOfPath, takesTheNumberBehindTheDevice)
{
    EXPECT_EQ(MctpI2CBus::busOfPath("/dev/i2c-3"), 3);
    EXPECT_EQ(MctpI2CBus::busOfPath("/dev/i2c-3x"), 3);
    EXPECT_EQ(MctpI2CBus::busOfPath("/dev/i2c-259"), 3);
    EXPECT_EQ(MctpI2CBus::busOfPath("/dev/i2c-255"), 255);
}

TEST(BusOfPath, namesNoBusOtherwise)
{
    for (const char* path :
         {"", "/dev/i2c", "/dev/i2c-", "/dev/i2c-x", "dev/i2c-3", "/dev/i2c/3",
          " /dev/i2c-3", "/dev/i2c-99999999999999999999"})
    {
        EXPECT_FALSE(MctpI2CBus::busOfPath(path)) << path;
    }
}

} // namespace
