// SPDX-License-Identifier: Apache-2.0
#include "tool/terminal.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tool::terminal
{

namespace
{

TEST(Terminal, showsTextAsItStands)
{
    for (const char* text :
         {"", "a", "Slot 3 ~", "\u00a0\u00e4\u20ac\u2028\uffff",
          "\U0001F600\U0010FFFF", "\u011b\u2019 end", "\xFF\xA0\xC0\xE2"})
    {
        EXPECT_EQ(shown(text), text);
    }
}

TEST(Terminal, showsNoControlCharacter)
{
    for (unsigned code = 0; code < 0x20; ++code)
    {
        const std::string text{'a', static_cast<char>(code), 'b'};
        EXPECT_EQ(shown(text), "a?b") << code;
    }
    EXPECT_EQ(shown("a\x7F"), "a?");
    for (unsigned code = 0x80; code < 0xA0; ++code)
    {
        const std::string stray{'a', static_cast<char>(code), 'b'};
        EXPECT_EQ(shown(stray), "a?b") << code;
        const std::string character{'\xC2', static_cast<char>(code), 'b'};
        EXPECT_EQ(shown(character), "?b") << code;
    }
    EXPECT_EQ(shown("\x1b]0;pwned\a\x1b[2J"), "?]0;pwned??[2J");
}

TEST(Terminal, takesNoByteOfACharacterForAControl)
{
    // Of each length and at each end of its leads; alone, each of the later
    // bytes from 0x80 to 0x9F would be a control.
    for (const char* text :
         {"\u00d0", "\u07d0", "\u0800", "\u0fd0", "\u1000", "\ucfd0", "\ud010",
          "\ud7d0", "\ue000", "\uffd0", "\U00010000", "\U0003f010",
          "\U00040000", "\U000ff010", "\U00100000", "\U0010f010"})
    {
        EXPECT_EQ(shown(text), text);
        EXPECT_EQ(shown(std::string(text) + "a\x80"), std::string(text) + "a?");
    }
}

TEST(Terminal, takesNoByteOfABrokenCharacterForText)
{
    EXPECT_EQ(shown("\xC4\x9B"), "\xC4\x9B");              // a letter
    EXPECT_EQ(shown("\xC1\x9B"), "\xC1?");                 // overlong
    EXPECT_EQ(shown("\xE0\x82\x9B"), "\xE0??");            // overlong
    EXPECT_EQ(shown("\xF0\x80\x82\x9B"), "\xF0???");       // overlong
    EXPECT_EQ(shown("\xED\xA0\x9B"), "\xED\xA0?");         // surrogate
    EXPECT_EQ(shown("\xF4\x90\x80\x9B"), "\xF4???");       // beyond the last
    EXPECT_EQ(shown("\xF5\x9B\x9B\x9B"), "\xF5???");       // begins none
    EXPECT_EQ(shown("\xE2\x9B"), "\xE2?");                 // cut
    EXPECT_EQ(shown("\xE2\x9B[1m"), "\xE2?[1m");           // cut
    EXPECT_EQ(shown("\xF0\x9F\x98\x1b"), "\xF0???");       // cut
    EXPECT_EQ(shown("\xC2"), "\xC2");                      // cut
    EXPECT_EQ(shown("\xE1\x80\x80\x9B"), "\xE1\x80\x80?"); // and one more
}

} // namespace

} // namespace tool::terminal
