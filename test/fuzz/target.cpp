// SPDX-License-Identifier: Apache-2.0
#include "target.hpp"

#include "io/common/src/Text.hpp"
#include "tool/output.hpp"

#include <sys/uio.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace
{

std::string kept;
std::vector<std::string> records;

} // namespace

namespace fuzz
{

const std::string& printed()
{
    return kept;
}

const std::vector<std::string>& logged()
{
    return records;
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
namespace tool::out
{

void write(std::string_view text) noexcept
{
    kept.append(text);
}

void line(std::string_view text)
{
    write(text);
    write("\n");
}

void line(std::initializer_list<std::string_view> pieces)
{
    line(io::text::cat(pieces));
}

void foreign(std::string_view text)
{
    write(text);
}

void errorLine(std::initializer_list<std::string_view> /*pieces*/)
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

int finish(int status)
{
    return status;
}

void exitProcess(int status)
{
    throw fuzz::Exit{status};
}

} // namespace tool::out

extern "C"
{
    // Millions of runs are nothing for the journal of this machine.
    int sd_journal_sendv(const iovec* fields, int count)
    {
        constexpr std::string_view name = "MESSAGE=";
        for (const iovec& field :
             std::span(fields, static_cast<std::size_t>(count)))
        {
            const std::string_view text(
                static_cast<const char*>(field.iov_base), field.iov_len);
            if (text.starts_with(name))
            {
                records.emplace_back(text.substr(name.size()));
            }
        }
        return 0;
    }

    int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
    {
        kept.clear();
        records.clear();
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
