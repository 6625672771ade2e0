// SPDX-License-Identifier: Apache-2.0
// The records name the place of the caller, not a place in this file.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include "stderr_copy.hpp"
#include "value_text.hpp"

#include <sys/uio.h>
#include <systemd/sd-journal.h>

#include <phosphor-logging/lg2/logger.hpp>

#include <string>
#include <vector>

namespace lg2::details
{

namespace
{

using namespace std::string_literals;

void fillIn(std::string& text, const std::string& name,
            const std::string& value)
{
    const std::string placeholder = '{' + name + '}';
    if (const auto at = text.find(placeholder); at != std::string::npos)
    {
        text.replace(at, placeholder.size(), value);
    }
}

/** MESSAGE stands first and is filled in last, when all values are known. */
std::vector<std::string> fixedFields(level severity,
                                     const std::source_location& where,
                                     const char* message)
{
    return {
        "",
        "LOG2_FMTMSG="s + message,
        "PRIORITY=" + std::to_string(static_cast<int>(severity)),
        "CODE_FILE="s + where.file_name(),
        "CODE_LINE=" + std::to_string(where.line()),
        "CODE_FUNC="s + where.function_name(),
    };
}

void send(std::vector<std::string>& entries)
{
    std::vector<iovec> parts;
    parts.reserve(entries.size());
    for (auto& entry : entries)
    {
        parts.push_back({entry.data(), entry.size()});
    }
    // There is nobody left to tell when logging itself fails.
    sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

} // namespace

void do_log(level severity, const std::source_location& where,
            const char* format, std::span<const field> fields)
{
    auto entries = fixedFields(severity, where, format);
    std::string message = format;

    for (const auto& f : fields)
    {
        const std::string name(f.name);
        const std::string value = valueText(f);
        fillIn(message, name, value);
        entries.emplace_back(name).append("=").append(value);
    }
    entries.front() = "MESSAGE=" + message;

    send(entries);
    copyToStderr(severity, where, message);
}

} // namespace lg2::details
