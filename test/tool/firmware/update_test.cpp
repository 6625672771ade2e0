// SPDX-License-Identifier: Apache-2.0
#include "tool/firmware/update.hpp"

#include <gtest/gtest.h>

namespace tool
{

TEST(PartNumber, standsBeforeTheLastUnderscoreOfTheFileName)
{
    EXPECT_EQ(partNumberOfFile("/tmp/ABC123_v1.bin"), "ABC123");
    EXPECT_EQ(partNumberOfFile("./A_v1.bin"), "A");
    EXPECT_EQ(partNumberOfFile("/tmp/A_B_v1.bin"), "A_B");
    EXPECT_EQ(partNumberOfFile("/a_b/C_"), "C");
}

TEST(PartNumber, isNotInEveryFileName)
{
    for (const char* file : {"", "fw.bin", "ABC123_v1.bin", "/tmp/fw.bin",
                             "/tmp/_x.bin", "/fw_1/x.bin", "/", "_", "/_"})
    {
        EXPECT_EQ(partNumberOfFile(file), std::nullopt) << file;
    }
}

TEST(PartNumber, isAllThatFollowsItsKey)
{
    EXPECT_EQ(partNumberOfParams("PN=ABC123"), "ABC123");
    EXPECT_EQ(partNumberOfParams("x,PN=A,B=PN=C"), "A,B=PN=C");
    EXPECT_EQ(partNumberOfParams("PN="), "");
    for (const char* params : {"", "pn=123", "PN", "P N=1"})
    {
        EXPECT_EQ(partNumberOfParams(params), std::nullopt) << params;
    }
}

} // namespace tool
