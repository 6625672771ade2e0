#include "io/common/src/ObjectMapper.hpp"
#include "tool/inventory/drive_backplane.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>
#include <string_view>

namespace mapper = io::mapper;

namespace
{

constexpr const char* routine = "fetchDriveBackplaneObjects";
constexpr const char* itemInterface =
    "com.mervax.Inventory.Item.DriveBackplane";

/** Does an error's name or text say that the objects are not there yet? */
bool saysNotFound(std::string_view error)
{
    return error.find("ResourceNotFound") != std::string_view::npos;
}

void logNotReady()
{
    // One attempt, without a wait.
    lg2::info("backplane object not ready, wait {WT}/{TO} seconds", "WT", 0,
              "TO", 0);
}

/** Did the call succeed? An error reply is told in the journal: in the
 *  caller's words, unless it says that the objects are not there yet. */
template <typename LogFailure>
bool isAnswered(const sdbusplus::message_t& reply, LogFailure logFailure)
{
    if (!reply.is_method_error())
    {
        return true;
    }
    if (saysNotFound(io::bus::errorName(reply)))
    {
        logNotReady();
    }
    else
    {
        logFailure();
    }
    return false;
}

bool fetchPaths(const DbusConnPtr& bus, std::vector<std::string>& paths)
{
    const std::vector<std::string> interfaces{itemInterface};
    sdbusplus::message_t reply = io::bus::callMethod(
        bus, mapper::service, mapper::path, mapper::interface,
        "GetSubTreePaths", "/xyz/openbmc_project/inventory/backplane",
        int32_t{1}, interfaces);
    if (!isAnswered(
            reply, []
            { lg2::error("[ERR] {F}: GetSubTreePaths failed", "F", routine); }))
    {
        return false;
    }
    reply.read(paths);
    return true;
}

bool fetchProperties(const DbusConnPtr& bus, const std::string& path,
                     storage::BackplaneProperties& properties)
{
    sdbusplus::message_t reply = io::bus::callMethod(
        bus, "com.mervax.bpm", path, "org.freedesktop.DBus.Properties",
        "GetAll", itemInterface);
    if (!isAnswered(reply,
                    []
                    {
                        lg2::error(
                            "[ERR] {F}: get DriveBackplane properties failed",
                            "F", routine);
                    }))
    {
        return false;
    }
    reply.read(properties);
    if (properties.empty())
    {
        lg2::error("[ERR] {F}: DriveBackplane properties empty", "F", routine);
        return false;
    }
    return true;
}

void logBackplane(const storage::DriveBackplane& backplane)
{
    lg2::info("{N}: i2c-{B}, {D}; location={L}, ff={F}, Slots=[{S1}, {S2}]",
              "N", backplane.name, "B", backplane.i2cBus, "D",
              backplane.description, "L", backplane.location, "F",
              backplane.formFactor, "S1", backplane.startSlot, "S2",
              unsigned{backplane.startSlot} + backplane.numberOfSlots);
}

} // namespace

int fetchDriveBackplaneObjects(
    const DbusConnPtr& bus,
    std::vector<std::shared_ptr<storage::DriveBackplane>>& backplanes)
{
    try
    {
        std::vector<std::string> paths;
        if (!fetchPaths(bus, paths))
        {
            return -1;
        }
        for (const std::string& path : paths)
        {
            storage::BackplaneProperties properties;
            if (!fetchProperties(bus, path, properties))
            {
                return -1;
            }
            const auto backplane = std::make_shared<storage::DriveBackplane>(
                storage::readBackplane(properties));
            logBackplane(*backplane);
            backplanes.push_back(backplane);
        }
        return 0;
    }
    catch (const std::exception& failure)
    {
        if (saysNotFound(failure.what()))
        {
            logNotReady();
        }
        else
        {
            lg2::error("[ERR] {F}: {E}", "F", routine, "E", failure);
        }
        return -1;
    }
}
