// SPDX-License-Identifier: Apache-2.0
#include "tool/options.hpp"

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
    std::string extra; //!< first word that belongs to no option
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
    const char* extra =
        unexpectedArgument(static_cast<int>(words.size()), argv.data());
    result.extra = extra == nullptr ? "none" : extra;
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

TEST(Options, aNumberThatDoesNotFitCountsAsNotGiven)
{
    EXPECT_EQ(parse({"-a", "ffffffff"}).options.address, 0xffffffffU);
    EXPECT_EQ(parse({"-r", "2147483647"}).options.resourceId, 2147483647);
    EXPECT_EQ(parse({"-r", "-2147483648"}).options.resourceId, -2147483647 - 1);
    for (const char* word :
         {"100000000", "1008c0000", "-1", "-ffffffff74000000",
          "7fffffffffffffff", "ffffffffffffffff", "10000000000000001"})
    {
        EXPECT_EQ(parse({"-a", word}).options.address, 0U) << word;
    }
    for (const char* word :
         {"2147483648", "4294967696", "-2147483649", "9223372036854775807",
          "18446744073709552016", "-18446744073709551216"})
    {
        EXPECT_EQ(parse({"-r", word}).options.resourceId, 0) << word;
    }
}

TEST(Options, wordsThatBelongToNone)
{
    EXPECT_EQ(parse({"-o", "delete", "-v"}).extra, "none");
    EXPECT_EQ(parse({"--"}).extra, "none");
    EXPECT_EQ(parse({"delete", "-a", "1"}).extra, "delete");
    EXPECT_EQ(parse({"-a", "1", "delete", "-r", "4", "now"}).extra, "delete");
    EXPECT_EQ(parse({"-a", "1", "--", "-r"}).extra, "-r");
    EXPECT_EQ(parse({"-v", "-"}).extra, "-");
    EXPECT_EQ(parse({""}).extra, "");
    EXPECT_EQ(parse({"delete", "-a", "1"}).options.address, 1U);
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
