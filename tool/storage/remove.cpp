#include "tool/storage/remove.hpp"

#include "io/common/src/Output.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/storage/service_call.hpp"
#include "tool/storage/update_wait.hpp"

#include <exception>

namespace
{

/** Call a method that removes something; wait for the update if it did.
 *
 *  @param failed what to print when the service could not remove it
 */
template <typename Failed, typename... Args>
bool removeAndWait(const DbusConnPtr& bus, const Options& options,
                   const char* interface, const char* method, Failed failed,
                   const Args&... args)
{
    const auto updated = subscribeStorageUpdated(bus, options);
    sdbusplus::message_t reply =
        callStorage(bus, options, interface, method, args...);
    if (reply.is_method_error())
    {
        io::out::print("Dbus call %s failed\n", method);
        return false;
    }
    if (readResult(reply) == 0)
    {
        io::bus::waitUntilExit(bus);
    }
    failed();
    return false;
}

} // namespace

bool deleteVolume(const DbusConnPtr& bus, const Options& options)
{
    const uint32_t volume = resourceIdOf(options);
    if (options.address == 0 || volume == 0 || options.service.empty())
    {
        io::out::line(
            {"Device address or resource id or service not specified"});
        return false;
    }
    const auto failed = [&]
    {
        io::out::print("Failed to delete volume (resId=%u) on device 0x%x\n",
                       volume, options.address);
    };
    try
    {
        return removeAndWait(bus, options, volumeOperation, "DeleteVolume",
                             failed, options.address, volume);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"deleteVolume exception: ", failure.what()});
        return false;
    }
}

bool clearConfig(const DbusConnPtr& bus, const Options& options)
{
    if (options.address == 0 || options.service.empty())
    {
        io::out::line({"Device address or service not specified"});
        return false;
    }
    const auto failed = [&]
    {
        io::out::print("Failed to clear configuration on device 0x%x\n",
                       options.address);
    };
    try
    {
        return removeAndWait(bus, options, storageOperation, "ClearConfig",
                             failed, options.address);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"clearConfig exception: ", failure.what()});
        return false;
    }
}
