// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/request_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

using nlohmann::json;

namespace tool
{

namespace
{

class RequestFile : public testing::Test
{
  protected:
    std::string path =
        testing::TempDir() + "request_file_test." + std::to_string(getpid());
    json document = "untouched";
    std::string complaint;

    ~RequestFile() override
    {
        std::remove(path.c_str());
    }

    bool read(const std::string& name)
    {
        testing::internal::CaptureStderr();
        const bool done = readRequestFile(name, document);
        complaint = testing::internal::GetCapturedStderr();
        return done;
    }

    bool readText(const std::string& text)
    {
        std::ofstream(path, std::ios::binary) << text;
        return read(path);
    }
};

TEST_F(RequestFile, givesAnyDocument)
{
    for (const char* text :
         {R"({"Volume":{"DisplayName":"vd1"}})", "[1,2]", "5", "null", " {} "})
    {
        EXPECT_TRUE(readText(text)) << text;
        EXPECT_EQ(document, json::parse(text));
        EXPECT_EQ(complaint, "");
    }
}

TEST_F(RequestFile, longerThanOneReadIsWhole)
{
    const json long_ = {{"Name", std::string(100000, 'x')}};
    EXPECT_TRUE(readText(long_.dump()));
    EXPECT_EQ(document, long_);
}

TEST_F(RequestFile, thatHoldsNoDocumentIsRefused)
{
    for (const char* text :
         {"", " ", "{", "{}x", "{'a':1}", "{\"a\":\"\xff\"}"})
    {
        EXPECT_FALSE(readText(text)) << text;
        EXPECT_EQ(complaint, "in file is invalid JSON: " + path + "\n");
        EXPECT_EQ(document, "untouched");
    }
}

TEST_F(RequestFile, thatIsADirectoryHoldsNoDocument)
{
    EXPECT_FALSE(read("/"));
    EXPECT_EQ(complaint, "in file is invalid JSON: /\n");
}

TEST_F(RequestFile, thatIsNotThereIsRefused)
{
    EXPECT_FALSE(read("/nowhere/x.json"));
    EXPECT_EQ(complaint, "Failed to open in file: /nowhere/x.json\n");
}

TEST_F(RequestFile, nestedTooDeepIsAnException)
{
    const std::string open(513, '[');
    const std::string close(513, ']');
    EXPECT_THROW(readText(open + close), std::length_error);
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(readText(open.substr(1) + close.substr(1)));
}

TEST_F(RequestFile, asLongAsABusMessageIsRead)
{
    constexpr off_t longest = 128 << 20;
    EXPECT_TRUE(readText("5"));
    ASSERT_EQ(truncate(path.c_str(), longest), 0);
    EXPECT_TRUE(read(path)) << "the JSON library ends at a zero";
    ASSERT_EQ(truncate(path.c_str(), longest + 1), 0);
    EXPECT_THROW(read(path), std::length_error);
    testing::internal::GetCapturedStderr();
}

TEST_F(RequestFile, thatNeverEndsIsAnException)
{
    EXPECT_THROW(read("/dev/zero"), std::length_error);
    testing::internal::GetCapturedStderr();
}

} // namespace

} // namespace tool
