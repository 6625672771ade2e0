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

} // namespace tool
