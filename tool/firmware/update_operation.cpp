#include "io/common/src/Output.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/firmware/list_devices.hpp"
#include "tool/firmware/part_number.hpp"
#include "tool/firmware/update_devices.hpp"
#include "tool/operations.hpp"

namespace
{

bool listBothGroups(const DbusConnPtr& bus, const Options& options)
{
    if (!listUpdatableDevices(bus, options, true))
    {
        return false;
    }
    io::out::line({});
    return listUpdatableDevices(bus, options, false);
}

/** Without parameters, the file's name tells the part number. */
bool deriveParams(Options& options)
{
    const std::optional<std::string> partNumber =
        partNumberOfFile(options.file);
    if (!partNumber)
    {
        io::out::line({"File or parameters not specified"});
        return false;
    }
    options.params = "PN=" + *partNumber;
    io::out::line({options.params});
    return true;
}

} // namespace

bool operation::update(const DbusConnPtr& bus, Options& options)
{
    if (options.file.empty())
    {
        return listBothGroups(bus, options);
    }
    if (options.params.empty() && !deriveParams(options))
    {
        return false;
    }
    std::optional<sdbusplus::bus::match_t> progress;
    if (!updateDevices(bus, options, progress))
    {
        return false;
    }
    // Whoever reads the output sees each step as it comes.
    io::out::unbuffer();
    io::bus::waitUntilExit(bus);
}
