// SPDX-License-Identifier: Apache-2.0
#include "support/journal.hpp"

#include <gtest/gtest.h>

#include <phosphor-logging/lg2.hpp>

#include <source_location>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

struct Record : public testing::Test
{
    Journal journal;

    /** sd-journal adds who logged; that is not the library's doing. */
    Fields taken()
    {
        Fields record = journal.take();
        std::erase_if(record, [](const auto& field)
                      { return field.first == "SYSLOG_IDENTIFIER"; });
        return record;
    }

    std::string message()
    {
        return valueOf(taken(), "MESSAGE");
    }
};

TEST_F(Record, hasItsFieldsInOrder)
{
    const int number = 7;
    const std::string text = "x";
    lg2::error("Read {COUNT} from {NAME}", "NAME", text, "COUNT", number);
    const int line = __LINE__ - 1;

    const Fields record = taken();
    std::vector<std::string> names;
    for (const auto& field : record)
    {
        names.push_back(field.first);
    }
    EXPECT_EQ(names, (std::vector<std::string>{
                         "MESSAGE", "LOG2_FMTMSG", "PRIORITY", "CODE_FILE",
                         "CODE_LINE", "CODE_FUNC", "NAME", "COUNT"}));
    EXPECT_EQ(valueOf(record, "MESSAGE"), "Read 7 from x");
    EXPECT_EQ(valueOf(record, "LOG2_FMTMSG"), "Read {COUNT} from {NAME}");
    EXPECT_EQ(valueOf(record, "PRIORITY"), "3");
    EXPECT_EQ(valueOf(record, "CODE_FILE"), __FILE__);
    EXPECT_EQ(valueOf(record, "CODE_LINE"), std::to_string(line));
    // As the compiler writes it.
    EXPECT_EQ(valueOf(record, "CODE_FUNC"),
              std::source_location::current().function_name());
    EXPECT_EQ(valueOf(record, "NAME"), "x");
    EXPECT_EQ(valueOf(record, "COUNT"), "7");
}

TEST_F(Record, isOnePerCall)
{
    lg2::info("one");
    lg2::info("two");
    EXPECT_EQ(message(), "one");
    EXPECT_EQ(message(), "two");
    EXPECT_TRUE(taken().empty());
}

TEST_F(Record, hasThePriorityOfItsLevel)
{
    lg2::emergency("m");
    lg2::alert("m");
    lg2::critical("m");
    lg2::error("m");
    lg2::warning("m");
    lg2::notice("m");
    lg2::info("m");
    lg2::debug("m");
    for (int priority = 0; priority < 8; ++priority)
    {
        EXPECT_EQ(valueOf(taken(), "PRIORITY"), std::to_string(priority));
    }
}

TEST_F(Record, replacesTheFirstOfEachPlaceholder)
{
    lg2::info("{A} {B} {A} {C} {", "B", 2, "A", 1, "D", 4);
    EXPECT_EQ(message(), "1 2 {A} {C} {");
}

TEST_F(Record, replacesAFieldGivenTwiceTwice)
{
    lg2::info("{A} {A} {A}", "A", 1, "A", 2);
    EXPECT_EQ(message(), "1 2 {A}");
}

TEST_F(Record, replacesInsideWhatItPutIn)
{
    const std::string outer = "<{B}>";
    lg2::info("{A} {B}", "A", outer, "B", 2);
    EXPECT_EQ(message(), "<2> {B}");
}

TEST_F(Record, carriesLineBreaks)
{
    const std::string text = "one\ntwo=2\n";
    lg2::info("{TEXT}", "TEXT", text);
    const Fields record = taken();
    EXPECT_EQ(valueOf(record, "TEXT"), text);
    EXPECT_EQ(valueOf(record, "MESSAGE"), text);
}

TEST_F(Record, carriesThirtyKilobytes)
{
    const std::string text(30000, 'x');
    lg2::info("long", "TEXT", text);
    EXPECT_EQ(valueOf(taken(), "TEXT"), text);
}

TEST_F(Record, takesItsMessageFromAPointer)
{
    const char* text = "chosen {A}";
    lg2::warning(text, "A", 1);
    EXPECT_EQ(message(), "chosen 1");
}

TEST(WithoutJournal, nothingHappens)
{
    EXPECT_NO_THROW(lg2::error("nobody hears {A}", "A", 1));
    Journal late;
    EXPECT_TRUE(late.take().empty());
    lg2::error("somebody does");
    EXPECT_EQ(valueOf(late.take(), "MESSAGE"), "somebody does");
}

} // namespace
