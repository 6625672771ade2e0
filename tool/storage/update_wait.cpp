#include "tool/storage/update_wait.hpp"

#include "io/common/src/Output.hpp"
#include "tool/json/document.hpp"
#include "tool/json/print.hpp"
#include "tool/storage/query.hpp"

#include <sdbusplus/asio/connection.hpp>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <exception>
#include <string>

namespace
{

using std::chrono::system_clock;

constexpr const char* updatedSignal = "StorageResourceUpdated";

/** Whole milliseconds; negative when the clock was set back meanwhile. */
std::string millisecondsBetween(system_clock::time_point start,
                                system_clock::time_point end)
{
    const std::chrono::nanoseconds elapsed = end - start;
    return std::to_string(int64_t{elapsed.count()} / 1000000);
}

void printUpdated(const std::string& name, const Options& options)
{
    const system_clock::time_point now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    // 24 characters and the line feed that the format has.
    io::out::print("%s updated at %.24s\n", name.c_str(), std::ctime(&seconds));
    io::out::line({"Refreshing data takes ",
                   millisecondsBetween(options.startTime, now), "ms"});
}

void printData(const std::string& data)
{
    const nlohmann::json document = parseDocument(data);
    io::out::line({std::string(32, '-')});
    printJson(document, 0);
}

} // namespace

sdbusplus::bus::match_t subscribeStorageUpdated(const DbusConnPtr& bus,
                                                const Options& options)
{
    const std::string rule = std::string("type='signal', interface='") +
                             storageInventory + "', member='" + updatedSignal +
                             "',";
    return {*bus, rule, [&options](sdbusplus::message_t& message) {
                storageResourceUpdatedCallback(options, message);
            }};
}

void storageResourceUpdatedCallback(const Options& options,
                                    sdbusplus::message_t& message)
{
    try
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
        io::out::exitProcess(0);
    }
    catch (const std::exception& failure)
    {
        io::out::print("Exception in handling signal %s: %s\n", updatedSignal,
                       failure.what());
        io::out::exitProcess(255);
    }
}
