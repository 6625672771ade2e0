#include "tool/firmware/progress.hpp"

#include "io/common/src/JsonText.hpp"
#include "io/common/src/Text.hpp"
#include "tool/firmware/update.hpp"
#include "tool/guard.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"

#include <sdbusplus/asio/connection.hpp>

#include <array>
#include <limits>
#include <stdexcept>
#include <string>

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
    double lowest;
};

constexpr double lowestError = std::numeric_limits<int32_t>::min();

constexpr std::array members{
    Member{"ErrorCode", &ProgressRecord::errorCode, lowestError},
    Member{"Progress", &ProgressRecord::progress, 0},
    Member{"CompletedDeviceCount", &ProgressRecord::completed, 0},
    Member{"TotalDeviceCount", &ProgressRecord::total, 0},
    Member{"ElapsedSeconds", &ProgressRecord::elapsed, 0},
    Member{"EstimatedRemainingSeconds", &ProgressRecord::remaining, 0},
};

uint32_t toCounter(const json& value, const Member& member)
{
    // Exact for every 32-bit integer; raises the library's error for what is
    // no number.
    const double number = value.get<double>();
    if (number < member.lowest || number > std::numeric_limits<uint32_t>::max())
    {
        throw std::out_of_range(std::string(member.name) +
                                " is out of range: " + value.dump());
    }
    return static_cast<uint32_t>(static_cast<int64_t>(number));
}

void followProgress(const std::string& text)
{
    ProgressRecord record;
    const char* missing = readProgress(io::parseJson(text), record);
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
        record.*member.value = toCounter(*value, member);
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
