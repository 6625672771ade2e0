#include "tool/firmware/update_devices.hpp"

#include "io/common/src/Output.hpp"
#include "tool/firmware/part_number.hpp"
#include "tool/firmware/progress.hpp"
#include "tool/firmware/updater.hpp"

#include <sdbusplus/asio/connection.hpp>

#include <exception>
#include <string>
#include <vector>

namespace
{

/** Who asks, as the services log it. */
constexpr const char* requester = "zantric";

std::string progressRule()
{
    return std::string("type='signal', interface='") + firmwareUpdater +
           "', member='DeviceUpdateStatusChanged',";
}

bool startUpdate(const DbusConnPtr& bus, const Options& options,
                 const std::string& partNumber)
{
    const std::vector<std::string> noOptions;
    sdbusplus::message_t reply = io::bus::callMethod(
        bus, io::bus::serviceName(options.service),
        io::bus::servicePath(options.service), firmwareUpdater, "UpdateDevices",
        requester, options.file, partNumber, noOptions);
    if (reply.is_method_error())
    {
        io::out::line({"Dbus method failed. ", io::bus::errorText(reply)});
        return false;
    }
    bool accepted = false;
    reply.read(accepted);
    if (!accepted)
    {
        io::out::line({"Failed to initiate device update"});
    }
    return accepted;
}

} // namespace

bool updateDevices(const DbusConnPtr& bus, const Options& options,
                   std::optional<sdbusplus::bus::match_t>& progress)
{
    const std::optional<std::string> partNumber =
        partNumberOfParams(options.params);
    if (!partNumber)
    {
        io::out::line({"Invalid params: ", options.params});
        return false;
    }
    try
    {
        // The first progress may be reported before the reply is.
        progress.emplace(*bus, progressRule(),
                         deviceUpdateStatusChangedCallback);
        return startUpdate(bus, options, *partNumber);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"Update Device: ", failure.what()});
        return false;
    }
}
