// SPDX-License-Identifier: Apache-2.0
// The records name the place of the caller, not a place in this file.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <phosphor-logging/lg2/fields.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace lg2::details
{

namespace
{

using namespace std::string_literals;

std::string textOf(uint64_t number)
{
    return std::to_string(number);
}

std::string textOf(int64_t number)
{
    return std::to_string(number);
}

std::string textOf(hex_number number)
{
    std::string digits;
    do
    {
        digits.insert(digits.begin(), "0123456789abcdef"[number.value & 0xfU]);
        number.value >>= 4U;
    } while (number.value != 0);
    return "0x" + digits;
}

/** Text ends at its first NUL, as it does for every C function behind. */
std::string textOf(std::string_view text)
{
    return std::string(text.substr(0, text.find('\0')));
}

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
std::vector<std::string> fixedFields(int priority,
                                     const std::source_location& where,
                                     const char* message)
{
    return {
        "",
        "LOG2_FMTMSG="s + message,
        "PRIORITY=" + std::to_string(priority),
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

/** Show a record on standard error, in one piece, so that lines of several
 *  processes do not mix. */
void copyToStderr(int priority, const std::string& message)
{
    static const bool wanted = isatty(STDERR_FILENO) != 0 ||
                               std::getenv("LG2_FORCE_STDERR") != nullptr;
    if (wanted)
    {
        const std::string line =
            "<" + std::to_string(priority) + "> " + message + "\n";
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
}

} // namespace

void do_log(int priority, const std::source_location& where, const char* format,
            std::span<const field> fields)
{
    auto entries = fixedFields(priority, where, format);
    std::string message = format;

    for (const auto& f : fields)
    {
        const std::string name(f.name);
        const std::string value =
            std::visit([](auto kind) { return textOf(kind); }, f.value);
        fillIn(message, name, value);
        entries.emplace_back(name).append("=").append(value);
    }
    entries.front() = "MESSAGE=" + message;

    send(entries);
    copyToStderr(priority, message);
}

} // namespace lg2::details
