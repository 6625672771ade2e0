#include "tool/output.hpp"

#include "io/common/src/Text.hpp"

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

void line(std::string_view text) noexcept
{
    write(text);
    write("\n");
}

void line(std::initializer_list<std::string_view> pieces)
{
    line(io::text::cat(pieces));
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

int finish(int status) noexcept
{
    flush();
    if (lostOutput == 0)
    {
        return status;
    }
    std::fprintf(stderr, "zantric: cannot write standard output: %s\n",
                 std::strerror(lostOutput));
    return status == 0 ? 255 : status;
}

void exitProcess(int status)
{
    std::exit(finish(status));
}

} // namespace tool::out
