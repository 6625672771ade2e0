#include "io/common/src/Output.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace io::out
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

// A parameter pack would be instantiated for each caller; the compiler checks
// this one's arguments as it does printf's. NOLINTNEXTLINE(cert-dcl50-cpp)
void print(const char* format, ...) noexcept
{
    va_list args;
    va_start(args, format);
    note(std::vprintf(format, args) >= 0);
    va_end(args);
}

void write(std::string_view text) noexcept
{
    note(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void line(std::initializer_list<std::string_view> pieces) noexcept
{
    for (std::string_view piece : pieces)
    {
        write(piece);
    }
    write("\n");
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

} // namespace io::out
