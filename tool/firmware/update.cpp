// SPDX-License-Identifier: Apache-2.0
#include "tool/firmware/update.hpp"

#include "io/common/src/Text.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/firmware/list_devices.hpp"
#include "tool/firmware/progress.hpp"
#include "tool/guard.hpp"
#include "tool/output.hpp"

#include <vector>

namespace tool
{

namespace
{

/** Who asks, as the services log it. */
constexpr const char* requester = "zantric";

bool listBothGroups(const DbusConnPtr& bus, const Options& options)
{
    if (!listUpdatableDevices(bus, options, true))
    {
        return false;
    }
    out::line("");
    return listUpdatableDevices(bus, options, false);
}

/** The parameters that follow from the file's name, when there are none. */
std::optional<std::string> paramsOf(const Options& options)
{
    if (!options.params.empty())
    {
        return options.params;
    }
    const auto partNumber = partNumberOfFile(options.file);
    if (!partNumber)
    {
        out::line("File or parameters not specified");
        return std::nullopt;
    }
    out::line({"PN=", *partNumber});
    return "PN=" + *partNumber;
}

bool startUpdate(const DbusConnPtr& bus, const Options& options,
                 const std::string& partNumber)
{
    const io::bus::Service service(options.service);
    const auto accepted = io::bus::ask<bool>(
        bus, service.at(firmwareUpdater), "UpdateDevices", requester,
        options.file, partNumber, std::vector<std::string>());
    if (!accepted)
    {
        out::line({"Dbus method failed. ", accepted.error().text});
        return false;
    }
    if (!*accepted)
    {
        out::line("Failed to initiate device update");
    }
    return *accepted;
}

/** Start the update and wait for its end. */
void updateDevices(const DbusConnPtr& bus, const Options& options,
                   const std::string& partNumber)
{
    const auto start = [&]
    {
        // Whoever reads the output sees each step as it comes.
        out::unbuffer();
        return guarded("Update Device: ",
                       [&] { return startUpdate(bus, options, partNumber); });
    };
    io::bus::startAndWait(
        bus, [&] { return subscribeProgress(bus); }, start);
}

} // namespace

std::optional<std::string> partNumberOfFile(const std::string& file)
{
    const std::size_t slash = file.rfind('/');
    const std::size_t underscore = file.rfind('_');
    if (slash == std::string::npos || underscore == std::string::npos ||
        underscore < slash + 2)
    {
        return std::nullopt;
    }
    return file.substr(slash + 1, underscore - slash - 1);
}

bool updateFirmware(const DbusConnPtr& bus, const Options& options)
{
    if (options.file.empty())
    {
        return listBothGroups(bus, options);
    }
    const auto params = paramsOf(options);
    if (!params)
    {
        return false;
    }
    const auto partNumber = io::text::findValue(*params, "PN=");
    if (!partNumber)
    {
        out::line({"Invalid params: ", *params});
        return false;
    }
    updateDevices(bus, options, *partNumber);
    return false;
}

} // namespace tool
