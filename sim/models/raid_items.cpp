// SPDX-License-Identifier: Apache-2.0
#include "sim/models/raid_items.hpp"

#include <algorithm>
#include <string>

namespace sim
{

namespace
{

const char* cacheState(const std::string& writePolicy)
{
    return writePolicy.starts_with("Protected") ? "Protected" : "Unprotected";
}

/** Copies a text under its name in the listings, if the request has it. */
void take(const Json& request, const char* from, Json& volume, const char* to)
{
    if (request.contains(from))
    {
        volume[to] = request[from].get<std::string>();
    }
}

} // namespace

uint32_t idOf(const Json& item)
{
    return item.value("/Internal/ResourceId"_json_pointer, uint32_t{0});
}

uint32_t highestId(const Json& items, uint32_t lowest)
{
    for (const Json& item : items)
    {
        lowest = std::max(lowest, idOf(item));
    }
    return lowest;
}

std::vector<uint32_t> linked(const Json& item, const char* list)
{
    std::vector<uint32_t> ids;
    if (item.contains("Links") && item["Links"].contains(list))
    {
        for (const Json& link : item["Links"][list])
        {
            ids.push_back(link.at("@odata.id").get<uint32_t>());
        }
    }
    return ids;
}

Json links(const std::vector<uint32_t>& ids)
{
    Json list = Json::array();
    for (uint32_t id : ids)
    {
        list.push_back({{"@odata.id", id}});
    }
    return list;
}

void takeSettings(const Json& request, Json& volume)
{
    take(request, "DisplayName", volume, "Name");
    take(request, "ReadPolicy", volume, "ReadCachePolicy");
    take(request, "WritePolicy", volume, "WriteCachePolicy");
    volume["WriteCacheState"] =
        cacheState(volume["WriteCachePolicy"].get<std::string>());
}

Json newVolume(uint32_t id, const Json& request, uint64_t capacity)
{
    Json volume = {{"Name", "VD" + std::to_string(id)},
                   {"RAIDType", request.at("RAIDType")},
                   {"CapacityBytes", capacity},
                   {"StripSizeBytes", request.value("StripSizeBytes", 65536U)},
                   {"ReadCachePolicy", "ReadAhead"},
                   {"WriteCachePolicy", "WriteThrough"},
                   {"WriteCacheState", ""},
                   {"Links", {{"Drives", links(linked(request, "Drives"))}}},
                   {"Internal", {{"ResourceId", id}}}};
    auto spares = linked(request, "DedicatedSpareDrives");
    if (!spares.empty())
    {
        volume["Links"]["DedicatedSpareDrives"] = links(spares);
    }
    takeSettings(request, volume);
    return volume;
}

Json newPool(uint32_t id, const Json& volume)
{
    const Json& bytes = volume["CapacityBytes"];
    return {{"Name", "Pool " + std::to_string(id)},
            {"SupportedRAIDTypes", Json::array({volume["RAIDType"]})},
            {"Capacity",
             {{"Data", {{"AllocatedBytes", bytes}, {"ConsumedBytes", bytes}}}}},
            {"RemainingCapacityPercent", 0},
            {"Links", {{"Drives", volume["Links"]["Drives"]}}},
            {"Internal", {{"ResourceId", id}}}};
}

void count(Json& drive, const char* what)
{
    Json& counter = drive["Oem"]["Mervax"][what];
    counter = counter.is_null() ? 1 : counter.get<uint64_t>() + 1;
}

} // namespace sim
