// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/list_targets.hpp"

#include "io/common/src/Text.hpp"
#include "tool/guard.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"
#include "tool/storage/item_lines.hpp"
#include "tool/storage/item_rows.hpp"
#include "tool/storage/service.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

using nlohmann::json;

namespace tool
{

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

/** Leave of an item that was read no more than what is printed of it. */
void fold(json& item, const Options& options, const std::string& prefix)
{
    try
    {
        item = rowOf(item, options.target, prefix, options.verbose);
    }
    catch (const json::exception&)
    {
        return; // It stays, to fail where it is printed: after those before it.
    }
}

void printRow(std::string_view lines)
{
    const std::size_t end = lines.find('\0');
    out::line(lines.substr(0, end));
    if (end != std::string_view::npos)
    {
        out::line(lines.substr(end + 1));
    }
}

void printItem(const json& item, const Options& options,
               const std::string& prefix)
{
    if (item.is_binary())
    {
        printRow(linesOf(item));
    }
    else if (options.target == "Drives")
    {
        printDriveLine(item, options, prefix);
    }
    else
    {
        out::line(options.target == "Volumes" ? volumeLine(item, prefix)
                                              : poolLine(item, prefix));
    }
}

/** The line above a service's items, where several services are listed. */
std::string headerLine(const std::string& service, const json* items,
                       const std::string& target)
{
    return io::text::cat({service, ": ",
                          std::to_string(items == nullptr ? 0 : items->size()),
                          " ", target});
}

bool listServices(const DbusConnPtr& bus, const Options& options,
                  const std::string& prefix)
{
    const std::vector<std::string> services = servicesFor(options);
    const bool several = services.size() > 1;
    const io::Wanted rows = rowsWanted(options, prefix);
    const char* gap = "";
    for (const std::string& service : services)
    {
        const auto document =
            fetchResources(bus, service, options.target, options.address, rows);
        if (!document)
        {
            out::line(
                {"Failed to get ", options.target, " from service ", service});
            return false;
        }
        const json* items = findMember(*document, options.target.c_str());
        if (several)
        {
            out::write(gap);
            out::line(headerLine(service, items, options.target));
            gap = "\n";
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

io::Wanted rowsWanted(const Options& options, const std::string& prefix)
{
    return {options.target, membersOf(options.target),
            [&](json& item) { fold(item, options, prefix); }};
}

void printItems(const json& items, const Options& options,
                const std::string& prefix)
{
    const auto print = [&](const json& item)
    { printItem(item, options, prefix); };
    if (options.target == "Drives")
    {
        visitDrives(items, print);
        return;
    }
    for (const json& item : items)
    {
        print(item);
    }
}

void printDriveLine(const json& item, const Options& options,
                    const std::string& prefix)
{
    out::line(driveLine(item, prefix));
    const std::string usage =
        options.verbose ? driveUsageLine(item, prefix) : std::string();
    if (!usage.empty())
    {
        out::line(usage);
    }
}

bool listDeviceTargets(const DbusConnPtr& bus, const Options& options,
                       std::string& prefix)
{
    if (!isListable(options.target))
    {
        out::line({"Unsupported target ", options.target});
        return false;
    }
    if (prefix.empty())
    {
        prefix = "  ";
    }
    return guarded("listDeviceTargets exception: ",
                   [&] { return listServices(bus, options, prefix); });
}

bool listTargets(const DbusConnPtr& bus, const Options& options)
{
    std::string prefix;
    return listDeviceTargets(bus, options, prefix);
}

} // namespace tool
