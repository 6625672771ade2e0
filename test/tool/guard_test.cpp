// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"
#include "tool/guard.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using tool::guarded;

TEST(Guard, theResultIsPassedOn)
{
    bool yes = false;
    bool no = true;
    EXPECT_EQ(printedBy(
                  [&]
                  {
                      yes = guarded("Words: ", [] { return true; });
                      no = guarded("Words: ", [] { return false; });
                  }),
              "");
    EXPECT_TRUE(yes);
    EXPECT_FALSE(no);
}

TEST(Guard, anExceptionIsALineAndAFailure)
{
    bool result = true;
    EXPECT_EQ(printedBy(
                  [&result]
                  {
                      result = guarded("showObjects exception: ",
                                       []() -> bool
                                       { throw std::out_of_range("stoul"); });
                  }),
              "showObjects exception: stoul\n");
    EXPECT_FALSE(result);
}

TEST(Guard, theInnermostSpeaks)
{
    const auto inner = []
    {
        return guarded(
            "inner: ", []() -> bool { throw std::runtime_error("why"); });
    };
    EXPECT_EQ(printedBy([&] { guarded("outer: ", inner); }), "inner: why\n");
}

TEST(Guard, whatIsNoExceptionOfTheLibraryGoesOn)
{
    EXPECT_THROW(guarded("Words: ", []() -> bool { throw 7; }), int);
}

} // namespace
