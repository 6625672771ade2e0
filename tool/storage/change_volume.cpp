#include "tool/storage/change_volume.hpp"

#include "io/common/src/Output.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/service_call.hpp"
#include "tool/storage/update_wait.hpp"

#include <exception>

using nlohmann::json;

namespace
{

bool asksForSeveral(const json& request)
{
    const json* volumes = findMember(request, "Volumes");
    return request.is_array() || (volumes != nullptr && volumes->is_array());
}

sdbusplus::message_t sendRequest(const DbusConnPtr& bus, const Options& options,
                                 const json& request)
{
    const std::string text = request.dump();
    if (options.operation != "create")
    {
        return callStorage(bus, options, volumeOperation, "EditVolume",
                           options.address, resourceIdOf(options), text);
    }
    const char* method =
        asksForSeveral(request) ? "CreateVolumes" : "CreateVolume";
    return callStorage(bus, options, volumeOperation, method, options.address,
                       text);
}

/** @return the service's result; -1 when it has none to give */
int32_t changeVolume(const DbusConnPtr& bus, const Options& options,
                     const json& request)
{
    if (options.operation == "autocfg")
    {
        return autoConfigVolume(bus, io::bus::serviceName(options.service),
                                io::bus::servicePath(options.service), options,
                                request);
    }
    sdbusplus::message_t reply = sendRequest(bus, options, request);
    if (reply.is_method_error())
    {
        io::out::line({"Dbus call create/edit volume failed"});
        return -1;
    }
    return readResult(reply);
}

} // namespace

int32_t autoConfigVolume(const DbusConnPtr& bus, const std::string& busName,
                         const std::string& path, const Options& options,
                         const json& request)
{
    const json* volume = findMember(request, "Volume");
    if (volume == nullptr)
    {
        return -1;
    }
    const auto text = [volume](const char* key)
    { return readText(*volume, key); };
    const auto number = [volume](const char* key)
    { return readOr(*volume, {key}, uint32_t{0}); };

    const std::string level = text("RAIDType");
    if (level.empty())
    {
        io::out::line({"No RAIDType"});
        return -1;
    }
    const uint32_t drives = number("DrvCnt");
    if (drives == 0)
    {
        io::out::line({"No DrvCnt"});
        return -1;
    }
    constexpr uint32_t reserved = 0;
    sdbusplus::message_t reply = io::bus::callMethod(
        bus, busName, path, volumeOperation, "AutoConfig", options.address,
        level, text("Protocol"), text("MediaType"), drives,
        number("HotspareCnt"), reserved, text("DisplayName"),
        number("StripSizeBytes"),
        readOr(*volume, {"CapacityBytes"}, uint64_t{0}), text("ReadPolicy"),
        text("WritePolicy"));
    if (reply.is_method_error())
    {
        io::out::line({"Dbus call AutoConfig failed"});
        return -1;
    }
    return readResult(reply);
}

bool createOrEditVolume(const DbusConnPtr& bus, const Options& options,
                        const json& request)
{
    if (options.address == 0 || options.service.empty())
    {
        io::out::line({"Device address or service not specified"});
        return false;
    }
    try
    {
        const auto updated = subscribeStorageUpdated(bus, options);
        if (changeVolume(bus, options, request) == 0)
        {
            io::bus::waitUntilExit(bus);
        }
        io::out::print("Failed to create/edit volume on device 0x%x\n",
                       options.address);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"createOrEditVolume exception: ", failure.what()});
    }
    return false;
}
