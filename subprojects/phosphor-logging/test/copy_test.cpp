// SPDX-License-Identifier: Apache-2.0
#include "support/journal.hpp"

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <map>
#include <string>

namespace
{

using Environment = std::map<std::string, std::string>;

[[noreturn]] void speak(const Environment& environment)
{
    unsetenv("LG2_FORCE_STDERR");
    unsetenv("LG2_FORMAT");
    for (const auto& [name, value] : environment)
    {
        setenv(name.c_str(), value.c_str(), 1);
    }
    execl(SPEAKER, SPEAKER, nullptr);
    _exit(127);
}

std::string readAll(int fd)
{
    std::string text;
    std::array<char, 4096> buffer{};
    ssize_t size = 0;
    while ((size = read(fd, buffer.data(), buffer.size())) > 0)
    {
        text.append(buffer.data(), static_cast<size_t>(size));
    }
    close(fd);
    return text;
}

void expectSuccess(pid_t pid)
{
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0);
}

/** What the speaker says on a standard error that is a pipe. */
std::string intoPipe(const Environment& environment)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t pid = fork();
    if (pid == 0)
    {
        dup2(ends[1], STDERR_FILENO);
        speak(environment);
    }
    close(ends[1]);
    std::string text = readAll(ends[0]);
    expectSuccess(pid);
    return text;
}

TEST(Copy, isNotMadeIntoAPipe)
{
    EXPECT_EQ(intoPipe({}), "");
    EXPECT_EQ(intoPipe({{"LG2_FORMAT", "%m"}}), "");
}

TEST(Copy, isMadeWhenAskedFor)
{
    EXPECT_EQ(intoPipe({{"LG2_FORCE_STDERR", "1"}}),
              "<3> first 1\n<7> second\n2\n");
    EXPECT_EQ(intoPipe({{"LG2_FORCE_STDERR", ""}}),
              "<3> first 1\n<7> second\n2\n");
}

TEST(Copy, isLaidOutAsAskedFor)
{
    const auto laidOut = [](const char* format)
    {
        const auto text =
            intoPipe({{"LG2_FORCE_STDERR", "1"}, {"LG2_FORMAT", format}});
        return text.substr(text.find('\n') + 1);
    };
    EXPECT_EQ(laidOut("%F:%L %f"), "speaker.cpp:42 int main()\n");
    EXPECT_EQ(laidOut("[%l]%%%x"), "[7]%%x\n");
    EXPECT_EQ(laidOut("end%"), "end%\n");
}

TEST(Copy, isMadeOnATerminal)
{
    int terminal = -1;
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(pid, 0);
    if (pid == 0)
    {
        speak({});
    }
    // The terminal writes a line feed as carriage return and line feed.
    EXPECT_EQ(readAll(terminal), "<3> first 1\r\n<7> second\r\n2\r\n");
    expectSuccess(pid);
}

} // namespace
