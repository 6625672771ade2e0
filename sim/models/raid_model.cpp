// SPDX-License-Identifier: Apache-2.0
#include "sim/models/raid_model.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace sim
{

namespace
{

constexpr const char* inventory = "com.mervax.Inventory.Storage";
constexpr const char* storage = "com.mervax.Operation.Storage";
constexpr const char* volumes = "com.mervax.Operation.Storage.Volume";
constexpr const char* drives = "com.mervax.Operation.Storage.Drive";

template <typename T>
T argument(const Call& call, size_t index)
{
    return call.args[index].get<T>();
}

/** A document in a request's text; one that is none is discarded, which no
 *  reader takes for anything. */
Json document(const Call& call, size_t index)
{
    return Json::parse(argument<std::string>(call, index), nullptr, false);
}

/** The volume of {"Volume": ..}; null for anything else. */
Json one(const Json& request)
{
    return request.is_object() ? request.value("Volume", Json()) : Json();
}

/** The volumes of an array of these, or of that array as "Volumes"; none for
 *  anything else. */
std::vector<Json> several(const Json& request)
{
    const Json list =
        request.is_object() ? request.value("Volumes", Json()) : request;
    std::vector<Json> result;
    if (list.is_array())
    {
        std::transform(list.begin(), list.end(), std::back_inserter(result),
                       one);
    }
    return result;
}

Outcome createOne(RaidArray& array, const Call& call)
{
    return array.create({one(document(call, 1))});
}

Outcome createSeveral(RaidArray& array, const Call& call)
{
    return array.create(several(document(call, 1)));
}

Outcome edit(RaidArray& array, const Call& call)
{
    return array.edit(argument<uint32_t>(call, 1), one(document(call, 2)));
}

/** usssuuusutss; the seventh has no meaning here. */
Outcome configure(RaidArray& array, const Call& call)
{
    Json volume = {{"RAIDType", call.args[1]}};
    auto keep = [&](const char* key, size_t index, const Json& unset)
    {
        if (call.args[index] != unset)
        {
            volume[key] = call.args[index];
        }
    };
    keep("DisplayName", 7, "");
    keep("StripSizeBytes", 8, 0);
    keep("CapacityBytes", 9, 0);
    keep("ReadPolicy", 10, "");
    keep("WritePolicy", 11, "");
    return array.configure({.protocol = argument<std::string>(call, 2),
                            .media = argument<std::string>(call, 3),
                            .drives = argument<uint32_t>(call, 4),
                            .spares = argument<uint32_t>(call, 5),
                            .volume = std::move(volume)});
}

Reply result(Outcome outcome)
{
    return Reply::one("i", static_cast<int32_t>(outcome));
}

} // namespace

RaidModel::RaidModel(Bus& busIn, Service& serviceIn, const Node& config) :
    StorageModel(busIn, serviceIn, config,
                 {"update_delay_ms", "update_before_reply"}),
    delay(config.number("update_delay_ms", 0)),
    beforeReply(config.flag("update_before_reply", false))
{
    for (auto& [address, document] : controllers)
    {
        arrays.emplace(address, document);
    }
    change(volumes, "CreateVolume", "us", createOne);
    change(volumes, "CreateVolumes", "us", createSeveral);
    change(volumes, "EditVolume", "uus", edit);
    change(volumes, "AutoConfig", "usssuuusutss", configure);
    change(volumes, "DeleteVolume", "uu",
           [](RaidArray& array, const Call& call)
           { return array.remove(argument<uint32_t>(call, 1)); });
    change(storage, "ClearConfig", "u",
           [](RaidArray& array, const Call&)
           {
               array.clear();
               return Outcome::done;
           });
    action("SecureErase", [](RaidArray& array, const Call& call)
           { return array.erase(argument<uint32_t>(call, 1)); });
    action("Reset", [](RaidArray& array, const Call& call)
           { return array.reset(argument<uint32_t>(call, 1)); });
}

void RaidModel::change(const char* interface, const char* member,
                       const char* in, Step step)
{
    method(interface, member, in,
           [this, step](const Call& call)
           {
               Outcome outcome = run(call, step);
               return outcome == Outcome::done ? changed(call)
                                               : result(outcome);
           });
}

void RaidModel::action(const char* member, Step step)
{
    method(drives, member, "uu",
           [this, step](const Call& call) { return result(run(call, step)); });
}

Outcome RaidModel::run(const Call& call, Step step)
{
    auto array = arrays.find(argument<uint32_t>(call, 0));
    return array == arrays.end() ? Outcome::badRequest
                                 : step(array->second, call);
}

Reply RaidModel::changed(const Call& call) const
{
    auto address = argument<uint32_t>(call, 0);
    Signal updated{.service = "",
                   .path = path(),
                   .interface = inventory,
                   .member = "StorageResourceUpdated",
                   .signature = "uss",
                   .delay = delay};
    updated.values = {address, "Volumes", listing("Volumes", address).dump()};
    Reply reply = result(Outcome::done);
    (beforeReply ? reply.before : reply.after).push_back(std::move(updated));
    return reply;
}

} // namespace sim
