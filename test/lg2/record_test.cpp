// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/uio.h>

#include <phosphor-logging/lg2.hpp>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <source_location>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using Record = std::vector<std::string>;

/** Every record since somebody looked. */
std::vector<Record> journal;

Record taken()
{
    EXPECT_EQ(journal.size(), 1U);
    return std::exchange(journal, {}).at(0);
}

std::string message()
{
    return taken().at(0);
}

} // namespace

/** In the place of the system's own, and as where there is no journal. */
extern "C" int sd_journal_sendv(const iovec* fields, int count)
{
    Record& record = journal.emplace_back();
    for (int i = 0; i < count; ++i)
    {
        record.emplace_back(static_cast<const char*>(fields[i].iov_base),
                            fields[i].iov_len);
    }
    return -ENOENT;
}

namespace
{

TEST(Record, hasItsFieldsInOrder)
{
    const std::string text = "x\ny=1\n";
    lg2::error("Read {COUNT} from {NAME}", "NAME", text, "COUNT", 7);
    const std::string line = std::to_string(__LINE__ - 1);
    EXPECT_EQ(taken(),
              (Record{"MESSAGE=Read 7 from x\ny=1\n",
                      "LOG2_FMTMSG=Read {COUNT} from {NAME}", "PRIORITY=3",
                      "CODE_FILE=" __FILE__, "CODE_LINE=" + line,
                      // As the compiler writes it.
                      std::string("CODE_FUNC=") +
                          std::source_location::current().function_name(),
                      "NAME=x\ny=1\n", "COUNT=7"}));
}

TEST(Record, hasThePriorityOfItsLevel)
{
    const char* chosen = "a pointer";
    lg2::error("m");
    lg2::warning(chosen, "A", 1);
    lg2::info("m");
    ASSERT_EQ(journal.size(), 3U);
    EXPECT_EQ(journal[0][2], "PRIORITY=3");
    EXPECT_EQ(journal[1][2], "PRIORITY=4");
    EXPECT_EQ(journal[1][0], "MESSAGE=a pointer");
    EXPECT_EQ(journal[2][2], "PRIORITY=6");
    journal.clear();
}

TEST(Record, replacesTheFirstOfEachPlaceholder)
{
    lg2::info("{A} {B} {A} {C} {", "B", 2, "A", 1, "D", 4);
    EXPECT_EQ(message(), "MESSAGE=1 2 {A} {C} {");
    lg2::info("{A} {A} {A}", "A", 1, "A", 2);
    EXPECT_EQ(message(), "MESSAGE=1 2 {A}");
}

TEST(Record, replacesInsideWhatItPutIn)
{
    const std::string outer = "<{B}>";
    lg2::info("{A} {B}", "A", outer, "B", 2);
    EXPECT_EQ(message(), "MESSAGE=<2> {B}");
}

template <typename... Ts>
std::string logged(Ts&&... ts)
{
    lg2::info("m", "V", std::forward<Ts>(ts)...);
    return taken().back();
}

TEST(Value, isANumberForIntegers)
{
    EXPECT_EQ(logged(0), "V=0");
    EXPECT_EQ(logged(-1), "V=-1");
    EXPECT_EQ(logged(uint8_t{200}), "V=200");
    EXPECT_EQ(logged(uint16_t{65535}), "V=65535");
    EXPECT_EQ(logged(std::numeric_limits<int64_t>::min()),
              "V=-9223372036854775808");
    EXPECT_EQ(logged(std::numeric_limits<uint64_t>::max()),
              "V=18446744073709551615");
}

TEST(Value, isHexadecimalWithItsFlag)
{
    EXPECT_EQ(logged(lg2::hex, 0U), "V=0x0");
    EXPECT_EQ(logged(lg2::hex, 0xabcU), "V=0xabc");
    EXPECT_EQ(logged(lg2::hex, uint8_t{0xa}), "V=0xa");
    EXPECT_EQ(logged(lg2::hex, 0x80010001U), "V=0x80010001");
}

TEST(Value, isTextForText)
{
    const char* pointer = "pointer";
    EXPECT_EQ(logged(std::string("string")), "V=string");
    EXPECT_EQ(logged(std::string_view("view")), "V=view");
    EXPECT_EQ(logged(pointer), "V=pointer");
    EXPECT_EQ(logged(std::string()), "V=");
    EXPECT_EQ(logged(std::string("ab\0cd", 5)), "V=ab");
    EXPECT_EQ(logged(std::string(30000, 'x')), "V=" + std::string(30000, 'x'));
}

TEST(Value, isTheTextOfAnException)
{
    const std::runtime_error error("it broke");
    const std::exception& base = error;
    EXPECT_EQ(logged(error), "V=it broke");
    EXPECT_EQ(logged(base), "V=it broke");
}

} // namespace
