#include "tool/dispatch.hpp"

#include "io/common/src/Output.hpp"
#include "tool/operations.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace
{

/** Something that must hold before an operation starts, or a message. */
struct Check
{
    bool (*holds)(const Options&);
    const char* message;
};

constexpr Check needsAddress{[](const Options& options)
                             { return options.address != 0; },
                             "Device address not specified"};
constexpr Check needsResourceId{[](const Options& options)
                                { return options.resourceId != 0; },
                                "Resource ID not specified"};
constexpr Check needsParamOrFile{[](const Options& options) {
                                     return !options.params.empty() ||
                                            !options.file.empty();
                                 },
                                 "Param or file is NOT specified"};
constexpr Check none{nullptr, nullptr};

struct Operation
{
    std::string_view word;
    std::array<Check, 3> checks; //!< in this order; the first to fail speaks
    bool (*run)(const DbusConnPtr&, Options&);
};

/** One operation per row. */
constexpr std::array operations{
    Operation{"list", {none, none, none}, operation::list},
    Operation{"show", {none, none, none}, operation::show},
    Operation{"create",
              {needsAddress, needsParamOrFile, none},
              operation::createOrEdit},
    Operation{"edit",
              {needsResourceId, needsAddress, needsParamOrFile},
              operation::createOrEdit},
    Operation{"delete", {none, none, none}, operation::deleteVolume},
    Operation{"clear", {none, none, none}, operation::clear},
    Operation{"showI2C", {none, none, none}, operation::showI2C},
    Operation{"enableMctp", {none, none, none}, operation::enableMctp},
    Operation{"discover", {none, none, none}, operation::discover},
    Operation{"event", {none, none, none}, operation::event},
    Operation{"ttylog", {none, none, none}, operation::ttyLog},
    Operation{"update", {none, none, none}, operation::update},
    Operation{"attest", {needsAddress, none, none}, operation::attest},
};

/** Words that begin with "#" name an action on a drive. */
bool runAction(const DbusConnPtr& bus, Options& options)
{
    if (!options.operation.starts_with("#Drive."))
    {
        io::out::line({"Unknown action: ", options.operation});
        return false;
    }
    return operation::driveAction(bus, options);
}

bool passes(const std::array<Check, 3>& checks, const Options& options)
{
    for (const Check& check : checks)
    {
        if (check.holds != nullptr && !check.holds(options))
        {
            io::out::line({check.message});
            return false;
        }
    }
    return true;
}

} // namespace

bool dispatch(const DbusConnPtr& bus, Options& options)
{
    if (options.operation.starts_with('#'))
    {
        return runAction(bus, options);
    }
    const auto* found =
        std::find_if(operations.begin(), operations.end(),
                     [&options](const Operation& operation)
                     { return operation.word == options.operation; });
    if (found == operations.end())
    {
        io::out::line({"Unknown operation: ", options.operation});
        return false;
    }
    return passes(found->checks, options) && found->run(bus, options);
}
