// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsSequence.hpp"
#include "test/scratch_dir.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace
{

using io::events::loadSequences;
using io::events::takeSequence;
using nlohmann::json;

class SequenceFile : public testing::Test
{
  protected:
    ScratchDir dir;
    const std::string path = dir.path() / "invseq.json";

    void fill(const std::string& text) const
    {
        std::ofstream(path) << text;
    }
};

TEST_F(SequenceFile, whenMissingHoldsNull)
{
    EXPECT_TRUE(loadSequences(path).is_null());
    EXPECT_TRUE(loadSequences(dir.path() / "none" / "x").is_null());
    EXPECT_TRUE(loadSequences("/dev/null/x").is_null());
}

TEST_F(SequenceFile, isReadAsItStands)
{
    fill("{\"PCI\": 7,\n\"System\": \"x\"}");
    EXPECT_EQ(loadSequences(path), (json{{"PCI", 7}, {"System", "x"}}));
}

TEST_F(SequenceFile, refusesWhatIsNoDocument)
{
    for (const char* text : {"", "   ", "{", "{\"PCI\":}", "7 8", "\xFF\xFE"})
    {
        fill(text);
        EXPECT_THROW(loadSequences(path), json::parse_error) << text;
    }
}

TEST_F(SequenceFile, refusesADirectory)
{
    std::filesystem::create_directory(path);
    EXPECT_THROW(loadSequences(path), std::runtime_error);
}

TEST_F(SequenceFile, doesNotWaitAtAPipe)
{
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_THROW(loadSequences(path), std::runtime_error);
}

TEST_F(SequenceFile, refusesAHugeFile)
{
    fill("\"" + std::string(std::size_t{1} << 20, 'a') + "\"");
    EXPECT_THROW(loadSequences(path), std::length_error);
    fill("\"" + std::string((std::size_t{1} << 20) - 2, 'a') + "\"");
    EXPECT_NO_THROW(loadSequences(path));
}

TEST_F(SequenceFile, refusesDeepNesting)
{
    fill(std::string(64, '[') + std::string(64, ']'));
    EXPECT_NO_THROW(loadSequences(path));
    fill(std::string(100'000, '[') + std::string(100'000, ']'));
    EXPECT_THROW(loadSequences(path), std::length_error);
}

/** Counting from a document to the number and to the document after it. */
struct Count
{
    const char* before;
    uint64_t number;
    const char* after;
};

constexpr Count counts[] = {
    {"null", 1, R"({"PCI":1})"},
    {"{}", 1, R"({"PCI":1})"},
    {R"({"PCI":7})", 8, R"({"PCI":8})"},
    {R"({"PCI":0})", 1, R"({"PCI":1})"},
    {R"({"PCI":4294967295})", 4294967296, R"({"PCI":4294967296})"},
    {R"({"System":7})", 1, R"({"PCI":1,"System":7})"},
    {R"({"PCI":"7"})", 1, R"({"PCI":1})"},
    {R"({"PCI":-7})", 1, R"({"PCI":1})"},
    {R"({"PCI":7.0})", 1, R"({"PCI":1})"},
    {R"({"PCI":null})", 1, R"({"PCI":1})"},
    {R"({"PCI":[7]})", 1, R"({"PCI":1})"},
    {R"({"PCI":18446744073709551615})", 1, R"({"PCI":1})"},
    {"[7]", 1, R"({"PCI":1})"},
    {"[]", 1, R"({"PCI":1})"},
    {"7", 1, R"({"PCI":1})"},
    {"\"PCI\"", 1, R"({"PCI":1})"},
    {"true", 1, R"({"PCI":1})"},
};

TEST(TakeSequence, countsOrStartsOver)
{
    for (const Count& count : counts)
    {
        json document = json::parse(count.before);
        EXPECT_EQ(takeSequence(document, "PCI"), count.number) << count.before;
        EXPECT_EQ(document.dump(), count.after) << count.before;
    }
}

} // namespace
