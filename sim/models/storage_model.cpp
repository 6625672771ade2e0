// SPDX-License-Identifier: Apache-2.0
#include "sim/models/storage_model.hpp"

#include "sim/scenario/address.hpp"

namespace sim
{

namespace
{

constexpr const char* inventoryInterface = "com.mervax.Inventory.Storage";

constexpr const char* members[] = {"Drives", "Volumes", "StoragePools",
                                   "Storage"};

std::map<uint32_t, Json> readControllers(const Node& node)
{
    std::map<uint32_t, Json> controllers;
    node.eachMember(
        [&](const std::string& key, const Node& controller)
        {
            controller.allowOnly(
                {"Drives", "Volumes", "StoragePools", "Storage"});
            controllers[readAddress(Node(Json(key), controller.place()))] =
                controller.json();
        });
    return controllers;
}

/** Items join items; anything else is kept side by side in an array. */
void join(Json& all, const Json& part)
{
    if (all.is_null())
    {
        all = part;
    }
    else if (all.is_array() && part.is_array())
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    else
    {
        Json both = all.is_array() ? all : Json::array({all});
        both.push_back(part);
        all = both;
    }
}

} // namespace

StorageModel::StorageModel(Bus& busIn, Service& serviceIn, const Node& config,
                           const std::vector<const char*>& extra) :
    Model(busIn, serviceIn, config),
    controllers(readControllers(config.at("controllers")))
{
    std::vector<const char*> known{"model", "path", "controllers",
                                   "addressless"};
    known.insert(known.end(), extra.begin(), extra.end());
    config.allowOnly(known);
    bool addressless = config.flag("addressless", false);
    for (const char* member : members)
    {
        addListing(std::string("Get") + member, member, addressless ? "" : "u");
    }
    addListing("GetAllDrives", "Drives", "");
}

void StorageModel::addListing(const std::string& name,
                              const std::string& member, const std::string& in)
{
    method(inventoryInterface, name, in,
           [this, member](const Call& call)
           {
               uint32_t address =
                   call.args.empty() ? 0 : call.args[0].get<uint32_t>();
               return Reply::json(listing(member, address));
           });
}

Json StorageModel::listing(const std::string& member, uint32_t address) const
{
    Json document = Json::object();
    for (const auto& [controllerAddress, controller] : controllers)
    {
        bool wanted = address == 0 || address == controllerAddress;
        if (wanted && controller.contains(member))
        {
            join(document[member], controller[member]);
        }
    }
    return document;
}

} // namespace sim
