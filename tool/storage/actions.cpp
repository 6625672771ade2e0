// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/actions.hpp"

#include "io/common/src/Text.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/output.hpp"
#include "tool/storage/service.hpp"
#include "tool/storage/update_wait.hpp"

namespace tool
{

namespace
{

using io::text::cat;
using io::text::hex;

/** Call a method that removes something; wait for the update if it did.
 *
 *  @param failed what to print when the service could not remove it
 */
template <typename... Args>
bool removeAndWait(const DbusConnPtr& bus, const Options& options,
                   const char* interface, const char* method,
                   const std::string& failed, const Args&... args)
{
    const auto start = [&]
    {
        const auto result = io::bus::ask<int32_t>(
            bus, io::bus::Service(options.service).at(interface), method,
            args...);
        if (result == 0)
        {
            return true;
        }
        out::line(result ? failed : cat({"Dbus call ", method, " failed"}));
        return false;
    };
    io::bus::startAndWait(
        bus, [&] { return subscribeStorageUpdated(bus, options); }, start);
    return false;
}

} // namespace

bool deleteVolume(const DbusConnPtr& bus, const Options& options)
{
    const uint32_t volume = resourceIdOf(options);
    return removeAndWait(
        bus, options, storage_interface::volume, "DeleteVolume",
        cat({"Failed to delete volume (resId=", std::to_string(volume),
             ") on device 0x", hex(options.address)}),
        options.address, volume);
}

bool clearConfig(const DbusConnPtr& bus, const Options& options)
{
    return removeAndWait(bus, options, storage_interface::operation,
                         "ClearConfig",
                         cat({"Failed to clear configuration on device 0x",
                              hex(options.address)}),
                         options.address);
}

const char* driveActionMethod(const std::string& action)
{
    if (action == "#Drive.SecureErase")
    {
        return "SecureErase";
    }
    return action == "#Drive.Reset" ? "Reset" : nullptr;
}

bool driveAction(const DbusConnPtr& bus, const Options& options)
{
    const char* method = driveActionMethod(options.operation);
    const auto result = io::bus::ask<int32_t>(
        bus, io::bus::Service(options.service).at(storage_interface::drive),
        method, options.address, resourceIdOf(options));
    if (result == 0)
    {
        return true;
    }
    out::line({method, result ? " failed" : ", dbus failure"});
    return false;
}

} // namespace tool
