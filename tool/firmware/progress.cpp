// SPDX-License-Identifier: Apache-2.0
#include "tool/firmware/progress.hpp"

#include "io/common/src/JsonText.hpp"
#include "io/common/src/Text.hpp"
#include "tool/firmware/update.hpp"
#include "tool/guard.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"

#include <sdbusplus/asio/connection.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

using nlohmann::json;

namespace tool
{

namespace
{

using io::text::cat;
using io::text::decimal;

struct Member
{
    const char* name;
    uint32_t ProgressRecord::*value;
};

constexpr std::array members{
    Member{"ErrorCode", &ProgressRecord::errorCode},
    Member{"Progress", &ProgressRecord::progress},
    Member{"CompletedDeviceCount", &ProgressRecord::completed},
    Member{"TotalDeviceCount", &ProgressRecord::total},
    Member{"ElapsedSeconds", &ProgressRecord::elapsed},
    Member{"EstimatedRemainingSeconds", &ProgressRecord::remaining},
};

uint32_t toCounter(const json& value)
{
    if (value.is_number_float())
    {
        constexpr double highest = std::numeric_limits<uint32_t>::max();
        return static_cast<uint32_t>(
            std::clamp(value.get<double>(), 0.0, highest));
    }
    // Raises the library's error for what is no number.
    return static_cast<uint32_t>(value.get<uint64_t>());
}

/** Length of the string, with its quotes, that text begins with. */
std::size_t stringLength(std::string_view text)
{
    std::size_t at = 1;
    while (at < text.size() && text[at] != '"')
    {
        at += text[at] == '\\' ? 2 : 1;
    }
    return std::min(at + 1, text.size());
}

/** Length of the number that text begins with, 1 if with none. */
std::size_t numberLength(std::string_view text)
{
    const std::size_t end = text.find_first_not_of("+-.0123456789eE");
    return std::clamp<std::size_t>(end, 1, text.size());
}

/** A number's text, or one beside it that a double holds. */
std::string_view withinDouble(std::string_view number)
{
    if (std::isfinite(std::strtod(std::string(number).c_str(), nullptr)))
    {
        return number;
    }
    return number.front() == '-' ? "-1e308" : "1e308";
}

/** JSON text without numbers beyond a double's range. */
std::string withoutHugeNumbers(std::string_view text)
{
    std::string kept;
    while (!text.empty())
    {
        const bool quoted = text.front() == '"';
        const std::size_t length =
            quoted ? stringLength(text) : numberLength(text);
        const std::string_view piece = text.substr(0, length);
        kept += quoted ? piece : withinDouble(piece);
        text.remove_prefix(length);
    }
    return kept;
}

/** No signal is passed over for the size of a number in it. */
json parseRecord(const std::string& text)
{
    try
    {
        return io::parseJson(text);
    }
    catch (const json::out_of_range&)
    {
        return io::parseJson(withoutHugeNumbers(text));
    }
}

void followProgress(const std::string& text)
{
    ProgressRecord record;
    const char* missing = readProgress(parseRecord(text), record);
    if (missing != nullptr)
    {
        out::line({"Update signal data has no ", missing});
        return;
    }
    printProgress(record);
    if (const std::optional<int> status = exitStatusOf(record))
    {
        out::exitProcess(*status);
    }
}

} // namespace

const char* readProgress(const json& data, ProgressRecord& record)
{
    for (const Member& member : members)
    {
        const json* value = findMember(data, member.name);
        if (value == nullptr)
        {
            return member.name;
        }
        record.*member.value = toCounter(*value);
    }
    return nullptr;
}

std::optional<int> exitStatusOf(const ProgressRecord& record)
{
    if (record.errorCode != 0)
    {
        return 255;
    }
    const bool done =
        record.progress >= 100 || record.completed == record.total;
    return done ? std::optional(0) : std::nullopt;
}

std::string progressLine(const ProgressRecord& record)
{
    if (record.errorCode != 0)
    {
        return cat({"Update failed, rc = 0x", io::text::hex(record.errorCode),
                    ". Updated ", decimal(record.completed), "/",
                    decimal(record.total), " devices"});
    }
    if (record.progress == 0)
    {
        return "Preparing...";
    }
    return cat({"Progress ", decimal(record.progress), "%, Completed ",
                decimal(record.completed), "/", decimal(record.total),
                ", Elapsed Time(s) = ", decimal(record.elapsed),
                ", Estimated Remaining Time(s) = ", decimal(record.remaining)});
}

void printProgress(const ProgressRecord& record)
{
    if (record.errorCode == 0 && record.progress != 0)
    {
        // ECMA-48: cursor up (CUU), erase to the end of the line (EL).
        out::write("\x1b[A");
        out::write("\x1b[K");
    }
    out::line(progressLine(record));
}

sdbusplus::bus::match_t subscribeProgress(const DbusConnPtr& bus)
{
    return {*bus,
            io::bus::signalRule(firmwareUpdater, "DeviceUpdateStatusChanged"),
            deviceUpdateStatusChangedCallback};
}

void deviceUpdateStatusChangedCallback(sdbusplus::message_t& message)
{
    guarded("F/W update callback: ",
            [&]
            {
                std::string text;
                message.read(text);
                followProgress(text);
                return true;
            });
}

} // namespace tool
