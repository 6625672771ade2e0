#include "target.hpp"

#include "io/common/src/Output.hpp"

#include <sys/uio.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace
{

std::string kept;

} // namespace

namespace fuzz
{

const std::string& printed()
{
    return kept;
}

void require(bool holds, const char* property)
{
    if (!holds)
    {
        std::fprintf(stderr, "violated: %s\n", property);
        std::abort();
    }
}

} // namespace fuzz

// In the place of the tool's own: a run prints into memory, and the end of the
// process is the end of the run.
namespace io::out
{

// NOLINTNEXTLINE(cert-dcl50-cpp): printf's own way, as it is declared
void print(const char* format, ...) noexcept
{
    va_list args;
    va_start(args, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, args);
    va_end(args);
    if (length >= 0)
    {
        kept.append(text, static_cast<std::size_t>(length));
        std::free(text);
    }
}

void write(std::string_view text) noexcept
{
    kept.append(text);
}

void line(std::initializer_list<std::string_view> pieces) noexcept
{
    for (std::string_view piece : pieces)
    {
        write(piece);
    }
    write("\n");
}

void errorLine(std::initializer_list<std::string_view> /*pieces*/) noexcept
{
}

void guardStandardStreams() noexcept
{
}

void flush() noexcept
{
}

void unbuffer() noexcept
{
}

int finish(int status) noexcept
{
    return status;
}

void exitProcess(int status)
{
    throw fuzz::Exit{status};
}

} // namespace io::out

extern "C"
{
    // Millions of runs are nothing for the journal of this machine.
    int sd_journal_sendv(const iovec* /*fields*/, int /*count*/)
    {
        return 0;
    }

    int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
    {
        kept.clear();
        try
        {
            fuzz::target({data, size});
        }
        catch (const std::exception& refusal)
        {
            // The operation would tell and fail.
            if (std::getenv("FUZZ_TELL") != nullptr)
            {
                std::fprintf(stderr, "refused: %s\n", refusal.what());
            }
        }
        return 0;
    }
}
