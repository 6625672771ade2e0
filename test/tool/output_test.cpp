// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"
#include "tool/output.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

using namespace tool;

/** Standard output goes there, without what was printed before. */
void redirect(int fd)
{
    std::fflush(stdout);
    dup2(fd, STDOUT_FILENO);
}

void fillUp()
{
    redirect(open("/dev/full", O_WRONLY | O_CLOEXEC));
}

/** What has come by one read. */
std::string readFrom(int fd)
{
    std::array<char, 80> seen{};
    const ssize_t size = read(fd, seen.data(), seen.size());
    return {seen.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

[[noreturn]] void compare(const std::string& seen, const std::string& wanted)
{
    std::fprintf(stderr, "<%s>", seen.c_str());
    _exit(seen == wanted ? 0 : 1);
}

/** Ends with 0 when just that text has left the process. */
[[noreturn]] void expectOut(const char* text, void (*print)())
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_NONBLOCK) != 0)
    {
        _exit(1);
    }
    redirect(ends[1]);
    print();
    compare(readFrom(ends[0]), text);
}

/** Ends with 0 when a terminal got of others' text and of the tool's own what
 *  it is to get. */
[[noreturn]] void printOnTerminal()
{
    int terminal = -1;
    int ours = -1;
    if (openpty(&terminal, &ours, nullptr, nullptr, nullptr) != 0)
    {
        _exit(1);
    }
    redirect(ours);
    out::line({"a\x1b[2J", "b"});
    out::write("\x1b[0m\n");
    out::flush();
    const std::string wanted = "a?[2Jb\r\n\x1b[0m\r\n";
    std::string seen;
    while (seen.size() < wanted.size())
    {
        seen += readFrom(terminal);
    }
    compare(seen, wanted);
}

TEST(Output, aLineIsItsPiecesAndAnEnd)
{
    EXPECT_EQ(printedBy([] { out::line("one"); }), "one\n");
    EXPECT_EQ(printedBy([] { out::line({"one", " ", "two"}); }), "one two\n");
    EXPECT_EQ(printedBy([] { out::line({}); }), "\n");
    EXPECT_EQ(printedBy([] { out::foreign("one"); }), "one");
}

TEST(Output, aFileGetsTheBytesThatThereAre)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(printedBy([] { out::line("a\x1b[2J\0b\xff"sv); }),
              "a\x1b[2J\0b\xff\n"sv);
}

TEST(OutputDeathTest, aTerminalGetsNoControlCharactersOfOthers)
{
    // Whether it is one is asked once in a run.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(printOnTerminal(), testing::ExitedWithCode(0), "");
}

TEST(OutputDeathTest, standardErrorHoldsNothingBack)
{
    EXPECT_EXIT(
        {
            out::errorLine({"one", " two"});
            _exit(0);
        },
        testing::ExitedWithCode(0), "^one two\n$");
}

TEST(OutputDeathTest, aLineWaitsForTheFlush)
{
    EXPECT_EXIT(expectOut("", [] { out::line("one"); }),
                testing::ExitedWithCode(0), "");
    EXPECT_EXIT(expectOut("one\n",
                          []
                          {
                              out::line("one");
                              out::flush();
                          }),
                testing::ExitedWithCode(0), "");
}

TEST(OutputDeathTest, withoutABufferItDoesNotWait)
{
    EXPECT_EXIT(expectOut("one\ntwo",
                          []
                          {
                              out::line("one");
                              out::unbuffer();
                              out::foreign("two");
                          }),
                testing::ExitedWithCode(0), "");
}

TEST(OutputDeathTest, theStatusIsKeptWhenNothingIsLost)
{
    EXPECT_EXIT(out::exitProcess(0), testing::ExitedWithCode(0), "^$");
    EXPECT_EXIT(out::exitProcess(255), testing::ExitedWithCode(255), "^$");
}

TEST(OutputDeathTest, lostOutputIsAFailure)
{
    const char* told = "^zantric: cannot write standard output: "
                       "No space left on device\n$";
    const auto print = [](int status)
    {
        fillUp();
        out::line("one");
        out::exitProcess(status);
    };
    EXPECT_EXIT(print(0), testing::ExitedWithCode(255), told);
    EXPECT_EXIT(print(7), testing::ExitedWithCode(7), told);
}

TEST(OutputDeathTest, theFirstLossIsTheOneThatIsTold)
{
    EXPECT_EXIT(
        {
            fillUp();
            out::line("one");
            out::flush();
            close(STDOUT_FILENO);
            out::line("two");
            out::exitProcess(0);
        },
        testing::ExitedWithCode(255), "No space left on device\n$");
}

TEST(OutputDeathTest, aClosedStandardOutputIsNobodyElses)
{
    EXPECT_EXIT(
        {
            close(STDOUT_FILENO);
            out::guardStandardStreams();
            if (open("/dev/null", O_RDONLY | O_CLOEXEC) == STDOUT_FILENO)
            {
                _exit(1);
            }
            out::line("one");
            out::exitProcess(0);
        },
        testing::ExitedWithCode(255),
        "^zantric: cannot write standard output: Bad file descriptor\n$");
}

TEST(OutputDeathTest, theOtherStreamsAreGuardedToo)
{
    EXPECT_EXIT(
        {
            close(STDIN_FILENO);
            close(STDERR_FILENO);
            out::guardStandardStreams();
            char byte = 0;
            const bool ends = read(STDIN_FILENO, &byte, 1) == 0;
            const bool takes = write(STDERR_FILENO, &byte, 1) == 1;
            _exit(ends && takes ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
