// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Executable.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace
{

TEST(Executable, isThisTest)
{
    const std::string path = io::executablePath();
    ASSERT_TRUE(path.starts_with('/')) << path;

    struct stat named
    {
    };

    struct stat running
    {
    };

    ASSERT_EQ(stat(path.c_str(), &named), 0) << path;
    ASSERT_EQ(stat("/proc/self/exe", &running), 0);
    EXPECT_EQ(named.st_ino, running.st_ino);
    EXPECT_EQ(named.st_dev, running.st_dev);
}

} // namespace
