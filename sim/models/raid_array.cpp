// SPDX-License-Identifier: Apache-2.0
#include "sim/models/raid_array.hpp"

#include "sim/models/raid_items.hpp"
#include "sim/models/raid_levels.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace sim
{

namespace
{
constexpr uint32_t firstVolume = 400;
} // namespace

RaidArray::RaidArray(Json& document) : controller(document)
{
    for (const char* list : {"Drives", "Volumes", "StoragePools"})
    {
        if (!controller.contains(list))
        {
            controller[list] = Json::array();
        }
    }
    nextVolume = highestId(controller["Volumes"], firstVolume - 1) + 1;
}

const Json* RaidArray::find(const char* list, uint32_t id) const
{
    const Json& items = std::as_const(controller)[list];
    auto found =
        std::find_if(items.begin(), items.end(),
                     [id](const Json& item) { return idOf(item) == id; });
    return found == items.end() ? nullptr : &*found;
}

Json* RaidArray::find(const char* list, uint32_t id)
{
    return const_cast<Json*>(std::as_const(*this).find(list, id));
}

bool RaidArray::isLinked(uint32_t drive) const
{
    for (const Json& volume : std::as_const(controller)["Volumes"])
    {
        for (const char* list : {"Drives", "DedicatedSpareDrives"})
        {
            auto ids = linked(volume, list);
            if (std::find(ids.begin(), ids.end(), drive) != ids.end())
            {
                return true;
            }
        }
    }
    return false;
}

bool RaidArray::isFree(const Json& drive) const
{
    return drive.value("CapacityBytes", uint64_t{0}) > 0 &&
           !isLinked(idOf(drive));
}

Outcome RaidArray::checkDrives(const std::vector<uint32_t>& ids) const
{
    if (std::set(ids.begin(), ids.end()).size() != ids.size())
    {
        return Outcome::badRequest;
    }
    for (uint32_t id : ids)
    {
        const Json* drive = find("Drives", id);
        if (drive == nullptr)
        {
            return Outcome::unknownDrive;
        }
        if (!isFree(*drive))
        {
            return Outcome::driveInUse;
        }
    }
    return Outcome::done;
}

uint64_t RaidArray::capacity(const std::string& level,
                             const std::vector<uint32_t>& ids) const
{
    uint64_t smallest = UINT64_MAX;
    for (uint32_t id : ids)
    {
        const Json& drive = *find("Drives", id);
        smallest = std::min(smallest, drive["CapacityBytes"].get<uint64_t>());
    }
    return smallest * dataDrives(level, ids.size());
}

Outcome RaidArray::add(const Json& request)
{
    auto drives = linked(request, "Drives");
    auto spares = linked(request, "DedicatedSpareDrives");
    auto all = drives;
    all.insert(all.end(), spares.begin(), spares.end());
    if (Outcome outcome = checkDrives(all); outcome != Outcome::done)
    {
        return outcome;
    }
    std::string level = request.value("RAIDType", "");
    if (!acceptsDrives(level, drives.size()))
    {
        return Outcome::driveCount;
    }
    uint64_t possible = capacity(level, drives);
    uint64_t wanted = request.value("CapacityBytes", possible);
    if (wanted == 0 || wanted > possible)
    {
        return Outcome::badRequest;
    }
    Json volume = newVolume(nextVolume++, request, wanted);
    Json& pools = controller["StoragePools"];
    pools.push_back(newPool(highestId(pools, 0) + 1, volume));
    controller["Volumes"].push_back(std::move(volume));
    return Outcome::done;
}

void RaidArray::dropEmptyPools()
{
    Json kept = Json::array();
    for (const Json& pool : controller["StoragePools"])
    {
        auto ids = linked(pool, "Drives");
        if (std::any_of(ids.begin(), ids.end(),
                        [this](uint32_t id) { return isLinked(id); }))
        {
            kept.push_back(pool);
        }
    }
    controller["StoragePools"] = std::move(kept);
}

Outcome RaidArray::create(const std::vector<Json>& requests)
{
    Json before = controller;
    uint32_t nextBefore = nextVolume;
    Outcome outcome = requests.empty() ? Outcome::badRequest : Outcome::done;
    try
    {
        for (auto request = requests.begin();
             request != requests.end() && outcome == Outcome::done; ++request)
        {
            outcome = add(*request);
        }
    }
    catch (const Json::exception&)
    {
        // A member of a type that no volume has.
        outcome = Outcome::badRequest;
    }
    if (outcome != Outcome::done)
    {
        controller = std::move(before);
        nextVolume = nextBefore;
    }
    return outcome;
}

std::vector<uint32_t> RaidArray::alike(const AutoRequest& request) const
{
    std::map<std::pair<std::string, std::string>, std::vector<uint32_t>> kinds;
    for (const Json& drive : std::as_const(controller)["Drives"])
    {
        std::string protocol = drive.value("Protocol", "");
        std::string media = drive.value("MediaType", "");
        bool fits =
            (request.protocol.empty() || request.protocol == protocol) &&
            (request.media.empty() || request.media == media);
        if (!fits || !isFree(drive))
        {
            continue;
        }
        auto& kind = kinds[{protocol, media}];
        kind.push_back(idOf(drive));
        if (kind.size() == uint64_t{request.drives} + request.spares)
        {
            return kind;
        }
    }
    return {};
}

Outcome RaidArray::configure(const AutoRequest& request)
{
    std::vector<uint32_t> chosen = alike(request);
    if (chosen.empty())
    {
        return Outcome::driveCount;
    }
    std::sort(chosen.begin(), chosen.end());
    auto spares = chosen.begin() + request.drives;
    Json volume = request.volume;
    volume["Links"]["Drives"] = links({chosen.begin(), spares});
    volume["Links"]["DedicatedSpareDrives"] =
        links({spares, spares + request.spares});
    return create({volume});
}

Outcome RaidArray::edit(uint32_t id, const Json& request)
{
    static const std::set<std::string> editable{"DisplayName", "ReadPolicy",
                                                "WritePolicy"};
    Json* volume = find("Volumes", id);
    if (volume == nullptr)
    {
        return Outcome::unknownVolume;
    }
    if (!request.is_object() || request.empty())
    {
        return Outcome::badRequest;
    }
    for (const auto& [key, value] : request.items())
    {
        if (!editable.contains(key) || !value.is_string())
        {
            return Outcome::badRequest;
        }
    }
    takeSettings(request, *volume);
    return Outcome::done;
}

Outcome RaidArray::remove(uint32_t id)
{
    Json& volumes = controller["Volumes"];
    for (auto volume = volumes.begin(); volume != volumes.end(); ++volume)
    {
        if (idOf(*volume) == id)
        {
            volumes.erase(volume);
            dropEmptyPools();
            return Outcome::done;
        }
    }
    return Outcome::unknownVolume;
}

void RaidArray::clear()
{
    controller["Volumes"] = Json::array();
    dropEmptyPools();
}

Outcome RaidArray::erase(uint32_t id)
{
    Json* drive = find("Drives", id);
    if (drive == nullptr)
    {
        return Outcome::unknownDrive;
    }
    if (isLinked(id))
    {
        return Outcome::driveInUse;
    }
    count(*drive, "SecureEraseCount");
    return Outcome::done;
}

Outcome RaidArray::reset(uint32_t id)
{
    Json* drive = find("Drives", id);
    if (drive == nullptr)
    {
        return Outcome::unknownDrive;
    }
    count(*drive, "ResetCount");
    return Outcome::done;
}

} // namespace sim
