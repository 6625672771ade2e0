#include "tool/firmware/progress.hpp"

#include "io/common/src/Bus.hpp"
#include "io/common/src/Output.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"

#include <array>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>

using nlohmann::json;

namespace
{

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
    const char* missing = readProgress(parseDocument(text), record);
    if (missing != nullptr)
    {
        io::out::line({"Update signal data has no ", missing});
        return;
    }
    printProgress(record);
    if (const std::optional<int> status = exitStatusOf(record))
    {
        io::out::exitProcess(*status);
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

void printProgress(const ProgressRecord& record)
{
    if (record.errorCode != 0)
    {
        io::out::print("Update failed, rc = 0x%x. Updated %u/%u devices\n",
                       record.errorCode, record.completed, record.total);
        return;
    }
    if (record.progress == 0)
    {
        io::out::line({"Preparing..."});
        return;
    }
    // ECMA-48: cursor up (CUU), erase to the end of the line (EL).
    io::out::write("\x1b[A");
    io::out::write("\x1b[K");
    io::out::print("Progress %u%%, Completed %u/%u, Elapsed Time(s) = %u, "
                   "Estimated Remaining Time(s) = %u\n",
                   record.progress, record.completed, record.total,
                   record.elapsed, record.remaining);
}

void deviceUpdateStatusChangedCallback(sdbusplus::message_t& message)
{
    try
    {
        followProgress(io::bus::readText(message));
    }
    catch (const std::exception& failure)
    {
        io::out::line({"F/W update callback: ", failure.what()});
    }
}
