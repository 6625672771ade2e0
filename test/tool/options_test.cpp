#include "tool/options.hpp"
#include "tool/usage.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace tool
{

namespace
{

struct Parsed
{
    bool ok{false};
    Options options;
};

Parsed parse(std::vector<std::string> words)
{
    words.insert(words.begin(), "zantric");
    std::vector<char*> argv;
    for (std::string& word : words)
    {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    optind = 0; // glibc: forget what earlier calls have read
    opterr = 0;
    Parsed result;
    result.ok = parseOptions(static_cast<int>(words.size()), argv.data(),
                             result.options);
    return result;
}

TEST(Options, defaults)
{
    const Parsed result = parse({});
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.options.operation, "list");
    EXPECT_EQ(result.options.target, "");
    EXPECT_EQ(result.options.address, 0U);
    EXPECT_EQ(result.options.resourceId, 0);
    EXPECT_FALSE(result.options.verbose);
}

TEST(Options, allOfThem)
{
    const Parsed result =
        parse({"-v", "-s", "rsa", "-a", "0x8c0000", "-o", "edit", "-t",
               "Drives", "-r", "406", "-p", "a=b", "-f", "x.json"});
    EXPECT_TRUE(result.ok);
    EXPECT_TRUE(result.options.verbose);
    EXPECT_EQ(result.options.service, "rsa");
    EXPECT_EQ(result.options.address, 0x8c0000U);
    EXPECT_EQ(result.options.operation, "edit");
    EXPECT_EQ(result.options.target, "Drives");
    EXPECT_EQ(result.options.resourceId, 406);
    EXPECT_EQ(result.options.params, "a=b");
    EXPECT_EQ(result.options.file, "x.json");
}

TEST(Options, addressIsHexadecimalWithOrWithoutPrefix)
{
    EXPECT_EQ(parse({"-a", "8c0000"}).options.address, 0x8c0000U);
    EXPECT_EQ(parse({"-a", "0x8c0000"}).options.address, 0x8c0000U);
    EXPECT_EQ(parse({"-a", "8cxyz"}).options.address, 0x8cU);
    EXPECT_EQ(parse({"-a", "xyz"}).options.address, 0U);
    EXPECT_EQ(parse({"-a", ""}).options.address, 0U);
}

TEST(Options, resourceIdIsDecimal)
{
    EXPECT_EQ(parse({"-r", "12z"}).options.resourceId, 12);
    EXPECT_EQ(parse({"-r", "-3"}).options.resourceId, -3);
    EXPECT_EQ(parse({"-r", "0x10"}).options.resourceId, 0);
}

TEST(Options, theLastRepetitionWins)
{
    const Parsed result = parse({"-s", "rsa", "-s", "lsa"});
    EXPECT_EQ(result.options.service, "lsa");
}

TEST(Options, usageIsWantedForHelpAndForMistakes)
{
    EXPECT_FALSE(parse({"-h"}).ok);
    EXPECT_FALSE(parse({"-x"}).ok);
    EXPECT_FALSE(parse({"-a"}).ok);
    EXPECT_FALSE(parse({"-v", "-h"}).ok);
}

TEST(Usage, everyLineEndsInCarriageReturnAndLineFeed)
{
    std::size_t lines = 0;
    for (std::size_t i = 0; i < usageText.size(); ++i)
    {
        if (usageText[i] == '\n')
        {
            ++lines;
            EXPECT_EQ(usageText[i - 1], '\r');
        }
    }
    EXPECT_EQ(lines, 31U);
    EXPECT_TRUE(usageText.starts_with("usage:\r\n    zantric <-a addr>"));
    EXPECT_TRUE(usageText.ends_with("NetworkAdapter, Objects\r\n"));
}

} // namespace

} // namespace tool
