// SPDX-License-Identifier: Apache-2.0
#include "tool/dispatch.hpp"

#include "tool/attest/attest.hpp"
#include "tool/event/event.hpp"
#include "tool/firmware/update.hpp"
#include "tool/guard.hpp"
#include "tool/inventory/drive_backplane.hpp"
#include "tool/inventory/show_objects.hpp"
#include "tool/mctp/i2c.hpp"
#include "tool/output.hpp"
#include "tool/pcie/list_devices.hpp"
#include "tool/pcie/show_device.hpp"
#include "tool/storage/actions.hpp"
#include "tool/storage/change_volume.hpp"
#include "tool/storage/list_targets.hpp"
#include "tool/storage/show_resources.hpp"
#include "tool/storage/tty_log.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <type_traits>

namespace tool
{

namespace
{

using Predicate = bool (*)(const Options&);

/** Something that must hold before an operation starts, or else a message. */
struct Check
{
    Predicate holds{nullptr};
    const char* message{nullptr};
    /** What the message ends with, if anything. */
    std::string Options::*subject{nullptr};
};

/** Is each of these options given? */
template <auto... Members>
bool given(const Options& options)
{
    return (... && (options.*Members !=
                    std::remove_cvref_t<decltype(options.*Members)>()));
}

bool namesBackplanes(const Options& options)
{
    return options.target == "backplanes" || options.target == "Backplanes";
}

bool namesObjects(const Options& options)
{
    return options.target == "objects" || options.target == "Objects";
}

constexpr Check needsAddress{given<&Options::address>,
                             "Device address not specified"};
constexpr Check needsService{given<&Options::service>, "Service not specified"};
constexpr Check needsResourceId{given<&Options::resourceId>,
                                "Resource ID not specified"};
constexpr Check needsController{given<&Options::address, &Options::service>,
                                "Device address or service not specified"};
constexpr Check needsVolume{
    given<&Options::address, &Options::resourceId, &Options::service>,
    "Device address or resource id or service not specified"};
constexpr Check needsParamOrFile{[](const Options& options) {
                                     return !options.params.empty() ||
                                            !options.file.empty();
                                 },
                                 "Param or file is NOT specified"};
/** The NVMe service asks for no address. */
constexpr Check needsAddressOrNvme{[](const Options& options) {
                                       return options.address != 0 ||
                                              options.service == "nvmed";
                                   },
                                   "Device address not specified"};
constexpr Check needsStorageTarget{[](const Options& options)
                                   { return isStorageTarget(options.target); },
                                   "Unknown target: ", &Options::target};
constexpr Check needsDriveAction{
    [](const Options& options)
    { return options.operation.starts_with("#Drive."); },
    "Unknown action: ", &Options::operation};
constexpr Check needsKnownAction{
    [](const Options& options)
    { return driveActionMethod(options.operation) != nullptr; },
    "Unsupported drive action: ", &Options::operation};
constexpr Check needsKnownOperation{[](const Options& /*options*/)
                                    { return false; },
                                    "Unknown operation: ", &Options::operation};

struct Operation
{
    std::string_view word;         //!< "#" and "" stand for all that begin so
    Predicate applies{nullptr};    //!< null: always
    std::array<Check, 3> checks{}; //!< in this order; the first to fail speaks
    const char* name{nullptr};     //!< prints exceptions; null lets them out
    bool (*run)(const DbusConnPtr&, const Options&){nullptr};
};

/** An operation per row; the first that fits is it. */
constexpr std::array operations{
    Operation{
        .word = "list", .applies = given<&Options::target>, .run = listTargets},
    Operation{.word = "list", .run = listPCIeDevices},
    Operation{
        .word = "show", .applies = namesBackplanes, .run = showBackplanes},
    Operation{.word = "show",
              .applies = namesObjects,
              .name = "showObjects exception: ",
              .run = showObjects},
    Operation{.word = "show",
              .applies = given<&Options::target>,
              .checks = {needsService, needsAddressOrNvme, needsStorageTarget},
              .run = showStorageResources},
    Operation{.word = "show",
              .checks = {needsService, needsAddressOrNvme},
              .run = showDeviceInfo},
    Operation{.word = "create",
              .checks = {needsAddress, needsParamOrFile},
              .run = createOrEdit},
    Operation{.word = "edit",
              .checks = {needsResourceId, needsAddress, needsParamOrFile},
              .run = createOrEdit},
    Operation{.word = "delete",
              .checks = {needsVolume},
              .name = "deleteVolume exception: ",
              .run = deleteVolume},
    Operation{.word = "clear",
              .checks = {needsController},
              .name = "clearConfig exception: ",
              .run = clearConfig},
    Operation{.word = "#",
              .checks = {needsDriveAction, needsController, needsKnownAction},
              .name = "driveAction exception: ",
              .run = driveAction},
    Operation{.word = "showI2C", .run = showI2C},
    Operation{.word = "enableMctp", .run = enableMctp},
    Operation{.word = "discover", .run = discoverMctp},
    Operation{.word = "event", .run = raiseEvent},
    Operation{.word = "ttylog", .run = getTTYlog},
    Operation{.word = "update", .run = updateFirmware},
    Operation{.word = "attest",
              .checks = {needsAddress},
              .name = "Attest Device: ",
              .run = attestDevice},
    Operation{.word = "", .checks = {needsKnownOperation}},
};

bool fits(const Operation& row, const Options& options)
{
    const bool named = row.word == "#" || row.word.empty()
                         ? options.operation.starts_with(row.word)
                         : options.operation == row.word;
    return named && (row.applies == nullptr || row.applies(options));
}

bool passes(const std::array<Check, 3>& checks, const Options& options)
{
    const auto* failed =
        std::find_if(checks.begin(), checks.end(),
                     [&](const Check& check) {
                         return check.holds != nullptr && !check.holds(options);
                     });
    if (failed == checks.end())
    {
        return true;
    }
    out::line({failed->message,
               failed->subject != nullptr ? options.*failed->subject : ""});
    return false;
}

} // namespace

bool dispatch(const DbusConnPtr& bus, const Options& options)
{
    // The last row takes what no other does.
    const auto& row = *std::find_if(operations.begin(), operations.end(),
                                    [&](const Operation& each)
                                    { return fits(each, options); });
    if (!passes(row.checks, options))
    {
        return false;
    }
    const auto run = [&] { return row.run(bus, options); };
    return row.name == nullptr ? run() : guarded(row.name, run);
}

} // namespace tool
