// SPDX-License-Identifier: Apache-2.0
#include "sim/models/mapper_model.hpp"

#include "sim/bus/bus.hpp"

#include <optional>
#include <utility>

namespace sim
{

namespace
{

constexpr const char* interfaceName = "xyz.openbmc_project.ObjectMapper";

Reply notFound()
{
    return Reply::error("xyz.openbmc_project.Common.Error.ResourceNotFound",
                        "The resource is not found.");
}

std::optional<Holdings> found(const Holdings& holdings, const Call& call)
{
    auto root = call.args[0].get<std::string>();
    if (!knows(holdings, root))
    {
        return std::nullopt;
    }
    return subTree(holdings, root, call.args[1].get<int>(),
                   call.args[2].get<std::vector<std::string>>());
}

} // namespace

MapperModel::MapperModel(Bus& busIn, Service& serviceIn, const Node& config) :
    Model(busIn, serviceIn, config)
{
    config.allowOnly({"model", "path"});
    method(interfaceName, "GetObject", "sas",
           [this](const Call& call) { return getObject(call); });
    method(interfaceName, "GetSubTree", "sias",
           [this](const Call& call) { return getSubTree(call); });
    method(interfaceName, "GetSubTreePaths", "sias",
           [this](const Call& call) { return getSubTreePaths(call); });
}

Holdings MapperModel::holdings() const
{
    Holdings result;
    for (const auto& [name, service] : bus().services())
    {
        if (!service->alive())
        {
            continue;
        }
        for (const auto& [where, object] : service->tree().all())
        {
            auto& interfaces = result[where][name];
            for (const auto& [interface, members] : object)
            {
                interfaces.push_back(interface);
            }
        }
    }
    addParents(result);
    return result;
}

Reply MapperModel::getObject(const Call& call) const
{
    const Holdings all = holdings();
    const auto path = call.args[0].get<std::string>();
    const auto interfaces = call.args[1].get<std::vector<std::string>>();
    auto services = servicesAt(all, path, interfaces);
    const bool there =
        interfaces.empty() ? all.contains(path) : !services.empty();
    return there ? Reply::one("a{sas}", services) : notFound();
}

Reply MapperModel::getSubTree(const Call& call) const
{
    auto tree = found(holdings(), call);
    if (!tree)
    {
        return notFound();
    }
    std::erase_if(*tree,
                  [](const auto& entry) { return entry.second.empty(); });
    return Reply::one("a{sa{sas}}", *tree);
}

Reply MapperModel::getSubTreePaths(const Call& call) const
{
    auto tree = found(holdings(), call);
    if (!tree)
    {
        return notFound();
    }
    Json paths = Json::array();
    for (const auto& [where, services] : *tree)
    {
        paths.push_back(where);
    }
    return Reply::one("as", std::move(paths));
}

} // namespace sim
