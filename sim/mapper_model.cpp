#include "mapper_model.hpp"

#include "world.hpp"

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

Json one(Json value)
{
    Json values = Json::array();
    values.push_back(std::move(value));
    return values;
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

MapperModel::MapperModel(World& worldIn, Service& serviceIn,
                         const Node& config) :
    Model(worldIn, serviceIn, config)
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
    for (const auto& [name, service] : world().services())
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
    Holdings all = holdings();
    auto path = call.args[0].get<std::string>();
    auto interfaces = call.args[1].get<std::vector<std::string>>();
    auto services = servicesAt(all, path, interfaces);
    bool there = interfaces.empty() ? all.contains(path) : !services.empty();
    return there ? Reply::of("a{sas}", one(Json(services))) : notFound();
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
    return Reply::of("a{sa{sas}}", one(Json(*tree)));
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
    return Reply::of("as", one(std::move(paths)));
}

} // namespace sim
