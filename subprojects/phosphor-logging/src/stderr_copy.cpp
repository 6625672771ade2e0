// SPDX-License-Identifier: Apache-2.0
#include "stderr_copy.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace lg2::details
{

namespace
{

struct Record
{
    level severity;
    const std::source_location& where;
    const std::string& message;
};

std::string expand(char directive, const Record& r)
{
    switch (directive)
    {
        case '%':
            return "%";
        case 'f':
            return r.where.function_name();
        case 'F':
            return r.where.file_name();
        case 'l':
            return std::to_string(static_cast<int>(r.severity));
        case 'L':
            return std::to_string(r.where.line());
        case 'm':
            return r.message;
        default:
            return {'%', directive};
    }
}

std::string layOut(std::string_view format, const Record& r)
{
    std::string line;
    while (!format.empty())
    {
        const bool directive = format.front() == '%';
        if (directive && format.size() > 1)
        {
            line += expand(format[1], r);
            format.remove_prefix(2);
        }
        else
        {
            line += format.front();
            format.remove_prefix(1);
        }
    }
    return line += '\n';
}

bool isWanted()
{
    static const bool wanted = isatty(STDERR_FILENO) != 0 ||
                               std::getenv("LG2_FORCE_STDERR") != nullptr;
    return wanted;
}

} // namespace

void copyToStderr(level severity, const std::source_location& where,
                  const std::string& message)
{
    if (!isWanted())
    {
        return;
    }
    const char* format = std::getenv("LG2_FORMAT");
    const std::string line = layOut(format != nullptr ? format : "<%l> %m",
                                    {severity, where, message});
    // In one piece, so that lines of several threads do not mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace lg2::details
