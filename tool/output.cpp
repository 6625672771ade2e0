// SPDX-License-Identifier: Apache-2.0
#include "tool/output.hpp"

#include "io/common/src/Text.hpp"
#include "tool/terminal.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tool::out
{

namespace
{
/** errno of the first write that failed, 0 when none has. */
int lostOutput = 0;

void note(bool written) noexcept
{
    if (!written && lostOutput == 0)
    {
        lostOutput = errno;
    }
}

bool isTerminal(std::FILE* stream) noexcept
{
    return isatty(fileno(stream)) == 1;
}
} // namespace

void guardStandardStreams() noexcept
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    {
        if (fcntl(fd, F_GETFD) != -1)
        {
            continue;
        }
        // The lowest free number is the one that is being looked at.
        const int mode = fd == STDERR_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", mode | O_CLOEXEC) != fd)
        {
            _exit(255);
        }
    }
}

void write(std::string_view text) noexcept
{
    note(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void foreign(std::string_view text)
{
    static const bool isShown = isTerminal(stdout);
    isShown ? write(terminal::shown(text)) : write(text);
}

void line(std::string_view text)
{
    foreign(text);
    write("\n");
}

void line(std::initializer_list<std::string_view> pieces)
{
    line(io::text::cat(pieces));
}

void errorLine(std::initializer_list<std::string_view> pieces)
{
    const std::string text = io::text::cat(pieces);
    const std::string shown = isTerminal(stderr) ? terminal::shown(text) : text;
    std::fwrite(shown.data(), 1, shown.size(), stderr);
    std::fputc('\n', stderr);
}

void flush() noexcept
{
    note(std::fflush(stdout) == 0);
}

void unbuffer() noexcept
{
    flush();
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

int finish(int status)
{
    flush();
    if (lostOutput == 0)
    {
        return status;
    }
    errorLine(
        {"zantric: cannot write standard output: ", std::strerror(lostOutput)});
    return status == 0 ? 255 : status;
}

void exitProcess(int status)
{
    std::exit(finish(status));
}

} // namespace tool::out
