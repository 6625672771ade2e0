// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/update_wait.hpp"

#include "io/common/src/JsonText.hpp"
#include "io/common/src/Text.hpp"
#include "tool/guard.hpp"
#include "tool/json/print.hpp"
#include "tool/output.hpp"
#include "tool/storage/service.hpp"

#include <sdbusplus/asio/connection.hpp>

#include <chrono>
#include <cstdint>
#include <string>

namespace tool
{

namespace
{

using std::chrono::system_clock;

constexpr const char* updatedSignal = "StorageResourceUpdated";

void printUpdated(const std::string& name, const Options& options)
{
    const system_clock::time_point now = system_clock::now();
    out::line(
        {name, " updated at ", io::text::date(system_clock::to_time_t(now))});
    // Negative when the clock was set back meanwhile.
    const auto elapsed =
        duration_cast<std::chrono::milliseconds>(now - options.startTime);
    out::line(
        {"Refreshing data takes ", std::to_string(elapsed.count()), "ms"});
}

void printData(const std::string& data)
{
    const nlohmann::json document = io::parseJson(data);
    out::line(std::string(32, '-'));
    printJson(document, 0);
}

/** End the process if the signal is the one that is waited for. */
void endOnUpdate(const Options& options, sdbusplus::message_t& message)
{
    uint32_t address = 0;
    std::string name;
    std::string data;
    message.read(address, name, data);
    if (address != options.address || name.empty() || data.empty())
    {
        return;
    }
    printUpdated(name, options);
    if (options.verbose)
    {
        printData(data);
    }
    out::exitProcess(0);
}

} // namespace

sdbusplus::bus::match_t subscribeStorageUpdated(const DbusConnPtr& bus,
                                                const Options& options)
{
    return {*bus,
            io::bus::signalRule(storage_interface::inventory, updatedSignal),
            [&options](sdbusplus::message_t& message)
            { storageResourceUpdatedCallback(options, message); }};
}

void storageResourceUpdatedCallback(const Options& options,
                                    sdbusplus::message_t& message)
{
    const std::string words =
        io::text::cat({"Exception in handling signal ", updatedSignal, ": "});
    const auto handle = [&]
    {
        endOnUpdate(options, message);
        return true;
    };
    if (!guarded(words, handle))
    {
        out::exitProcess(255);
    }
}

} // namespace tool
