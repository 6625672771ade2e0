#include "tool/storage/drive_action.hpp"

#include "io/common/src/Output.hpp"
#include "tool/storage/service_call.hpp"

#include <exception>

namespace
{

/** The service's method for an action, null when it has none. */
const char* actionMethod(const std::string& action)
{
    if (action == "#Drive.SecureErase")
    {
        return "SecureErase";
    }
    return action == "#Drive.Reset" ? "Reset" : nullptr;
}

bool runAction(const DbusConnPtr& bus, const Options& options,
               const char* method)
{
    sdbusplus::message_t reply =
        callStorage(bus, options, driveOperation, method, options.address,
                    resourceIdOf(options));
    if (reply.is_method_error())
    {
        io::out::print("%s, dbus failure\n", method);
        return false;
    }
    if (readResult(reply) != 0)
    {
        io::out::print("%s failed\n", method);
        return false;
    }
    return true;
}

} // namespace

bool driveAction(const DbusConnPtr& bus, const Options& options)
{
    if (options.address == 0 || options.service.empty())
    {
        io::out::line({"Device address or service not specified"});
        return false;
    }
    const char* method = actionMethod(options.operation);
    if (method == nullptr)
    {
        io::out::line({"Unsupported drive action: ", options.operation});
        return false;
    }
    try
    {
        return runAction(bus, options, method);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"driveAction exception: ", failure.what()});
        return false;
    }
}
