// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/show_resources.hpp"

#include "tool/json/print.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"
#include "tool/storage/service.hpp"

#include <optional>

namespace tool
{

bool isStorageTarget(const std::string& target)
{
    return target == "Drives" || target == "Volumes" ||
           target == "StoragePools" || target == "Storage";
}

bool showStorageResources(const DbusConnPtr& bus, const Options& options)
{
    const bool nvme = options.service == "nvmed";
    const auto document =
        fetchResources(bus, options.service, options.target,
                       nvme ? std::nullopt : std::optional(options.address));
    if (!document)
    {
        out::line({"Dbus call Get", options.target, " failed"});
        return false;
    }
    if (findMember(*document, options.target.c_str()) == nullptr)
    {
        out::line({"getStorageResouces: returned data does not contain ",
                   options.target,
                   ", json size = ", std::to_string(document->size())});
        return false;
    }
    printJson(*document, 0);
    return true;
}

} // namespace tool
