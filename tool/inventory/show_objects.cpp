// SPDX-License-Identifier: Apache-2.0
#include "tool/inventory/show_objects.hpp"

#include "io/common/src/Targets.hpp"
#include "tool/json/print.hpp"
#include "tool/output.hpp"

using nlohmann::json;

namespace tool
{

json objectDocument(const io::mapper::SubTree& tree, const std::string& service)
{
    json document = json::object();
    for (const auto& [path, services] : tree)
    {
        for (const auto& [name, interfaces] : services)
        {
            if (!service.empty() && name != service)
            {
                continue;
            }
            json& list = document[path][name];
            if (list.is_null())
            {
                list = json::array();
            }
            for (const std::string& interface : interfaces)
            {
                list.push_back(interface);
            }
        }
    }
    return document;
}

bool getSubTree(const DbusConnPtr& bus, const std::string& searchPath,
                const std::vector<std::string>& requiredInterfaces,
                const std::string& service, json& found)
{
    if (searchPath.empty() || requiredInterfaces.empty() || !found.is_null())
    {
        out::line({"getSubTree failed, invalid parameter: searchPath ",
                   searchPath, " requiredInterfaces size ",
                   std::to_string(requiredInterfaces.size())});
        return false;
    }
    const auto tree = io::mapper::getSubTree(bus, searchPath.c_str(), 2,
                                             requiredInterfaces.front());
    if (!tree)
    {
        out::line({"getSubTree(", requiredInterfaces.front(), ") failed"});
        return false;
    }
    found = objectDocument(*tree, service);
    return true;
}

bool showObjects(const DbusConnPtr& bus, const Options& options)
{
    const std::string interface =
        options.file.empty() ? io::target::softwareItem : options.file;
    const std::string service = options.service.empty()
                                  ? std::string()
                                  : io::bus::Service(options.service).name;
    json document;
    if (!getSubTree(bus, io::target::inventory, {interface}, service, document))
    {
        return false;
    }
    printJson(document, 0);
    return true;
}

} // namespace tool
