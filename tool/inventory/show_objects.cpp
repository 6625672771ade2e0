#include "tool/inventory/show_objects.hpp"

#include "io/common/src/Output.hpp"
#include "tool/json/print.hpp"

#include <cstdint>
#include <exception>

namespace mapper = io::mapper;
using nlohmann::json;

json objectDocument(const mapper::SubTree& tree, const std::string& service)
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
        io::out::line({"getSubTree failed, invalid parameter: searchPath ",
                       searchPath, " requiredInterfaces size ",
                       std::to_string(requiredInterfaces.size())});
        return false;
    }
    sdbusplus::message_t reply = io::bus::callMethod(
        bus, mapper::service, mapper::path, mapper::interface, "GetSubTree",
        searchPath, int32_t{2}, requiredInterfaces);
    if (reply.is_method_error())
    {
        io::out::line({"getSubTree(", requiredInterfaces.front(), ") failed"});
        return false;
    }
    mapper::SubTree tree;
    reply.read(tree);
    found = objectDocument(tree, service);
    return true;
}

bool showObjects(const DbusConnPtr& bus, const Options& options)
{
    try
    {
        const std::string interface =
            options.file.empty() ? "com.mervax.Inventory.Item.SoftwareInventory"
                                 : options.file;
        const std::string service = options.service.empty()
                                      ? std::string()
                                      : io::bus::serviceName(options.service);
        json document;
        if (!getSubTree(bus, "/xyz/openbmc_project/inventory", {interface},
                        service, document))
        {
            return false;
        }
        printJson(document, 0);
        return true;
    }
    catch (const std::exception& failure)
    {
        io::out::line({"showObjects exception: ", failure.what()});
        return false;
    }
}
