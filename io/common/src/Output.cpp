#include "io/common/src/Output.hpp"

#include "io/common/src/Terminal.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
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

bool isTerminal(std::FILE* stream) noexcept
{
    return isatty(fileno(stream)) == 1;
}

bool isShownOnTerminal() noexcept
{
    static const bool shown = isTerminal(stdout);
    return shown;
}

/** Hand out what somebody else wrote. */
void writeForeign(std::string_view text) noexcept
{
    if (isShownOnTerminal())
    {
        note(terminal::write(stdout, text));
        return;
    }
    write(text);
}

/** Hand out what a format made: the line feeds that it begins and ends with
 *  are the format's, those between came with the arguments. */
void writeFormatted(std::string_view format, std::string_view text) noexcept
{
    const std::size_t before =
        std::min(format.find_first_not_of('\n'), format.size());
    const std::size_t after = format.size() - 1 - format.find_last_not_of('\n');
    write(text.substr(0, before));
    writeForeign(text.substr(before, text.size() - before - after));
    write(text.substr(text.size() - after));
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
    if (isShownOnTerminal())
    {
        char* text = nullptr;
        const int length = vasprintf(&text, format, args);
        note(length >= 0);
        if (length >= 0)
        {
            writeFormatted(format, {text, static_cast<std::size_t>(length)});
            std::free(text); // NOLINT(cppcoreguidelines-no-malloc)
        }
    }
    else
    {
        note(std::vprintf(format, args) >= 0);
    }
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
        writeForeign(piece);
    }
    write("\n");
}

void errorLine(std::initializer_list<std::string_view> pieces) noexcept
{
    const bool shown = isTerminal(stderr);
    for (std::string_view piece : pieces)
    {
        shown ? static_cast<void>(terminal::write(stderr, piece))
              : static_cast<void>(
                    std::fwrite(piece.data(), 1, piece.size(), stderr));
    }
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

int finish(int status) noexcept
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

} // namespace io::out
