#include "tool/storage/list_targets.hpp"

#include "io/common/src/Output.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/item_lines.hpp"
#include "tool/storage/query.hpp"

#include <optional>
#include <vector>

using nlohmann::json;

namespace
{

std::vector<std::string> servicesFor(const Options& options)
{
    if (!options.service.empty())
    {
        return {options.service};
    }
    if (options.target == "Drives")
    {
        return {"rsa", "lsa", "nvmed"};
    }
    return {"rsa", "lsa"};
}

void printItems(const json& items, const Options& options,
                const std::string& prefix)
{
    if (options.target == "Drives")
    {
        printDrives(items, options, prefix);
        return;
    }
    for (const json& item : items)
    {
        if (options.target == "Volumes")
        {
            printVolumeLine(item, prefix);
        }
        else
        {
            printPoolLine(item, prefix);
        }
    }
}

/** Ask one service; no document when it answers with an error. */
std::optional<json> fetchTargets(const DbusConnPtr& bus,
                                 const std::string& service,
                                 const Options& options)
{
    const std::string method = storageMethod(service, options.target);
    const bool all = method == "GetAllDrives";
    sdbusplus::message_t reply =
        queryStorage(bus, service, method,
                     all ? std::nullopt : std::optional(options.address));
    if (reply.is_method_error())
    {
        io::out::print("Failed to get %s from service %s\n",
                       options.target.c_str(), service.c_str());
        return std::nullopt;
    }
    return parseDocument(io::bus::readText(reply));
}

bool listServices(const DbusConnPtr& bus, const Options& options,
                  const std::string& prefix)
{
    const std::vector<std::string> services = servicesFor(options);
    const bool several = services.size() > 1;
    const char* header = "%s: %u %s\n";
    for (const std::string& service : services)
    {
        const std::optional<json> document =
            fetchTargets(bus, service, options);
        if (!document)
        {
            return false;
        }
        const json* items = findMember(*document, options.target.c_str());
        if (several)
        {
            const std::size_t count = items == nullptr ? 0 : items->size();
            io::out::print(header, service.c_str(),
                           static_cast<unsigned>(count),
                           options.target.c_str());
            header = "\n%s: %u %s\n";
        }
        else if (items == nullptr)
        {
            return false;
        }
        if (items != nullptr)
        {
            printItems(*items, options, prefix);
        }
    }
    return true;
}

bool isListable(const std::string& target)
{
    return target == "Drives" || target == "Volumes" ||
           target == "StoragePools";
}

} // namespace

bool listDeviceTargets(const DbusConnPtr& bus, const Options& options,
                       std::string& prefix)
{
    if (!isListable(options.target))
    {
        io::out::print("Unsupported target %s\n", options.target.c_str());
        return false;
    }
    if (prefix.empty())
    {
        prefix = "  ";
    }
    try
    {
        return listServices(bus, options, prefix);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"listDeviceTargets exception: ", failure.what()});
        return false;
    }
}
