// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/item_rows.hpp"

#include "tool/storage/item_lines.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>

using io::Kept;
using nlohmann::json;

namespace tool
{

namespace
{

constexpr std::array<Kept, 2> internalMembers{{{"ResourceId"}, {"TypeString"}}};

constexpr std::array<Kept, 8> volumeMembers{{
    {"Name"},
    {"Internal", internalMembers},
    {"RAIDType"},
    {"CapacityBytes"},
    {"StripSizeBytes"},
    {"ReadCachePolicy"},
    {"WriteCachePolicy"},
    {"WriteCacheState"},
}};

constexpr std::array<Kept, 2> sizeMembers{
    {{"AllocatedBytes"}, {"ConsumedBytes"}}};
constexpr std::array<Kept, 1> capacityMembers{{{"Data", sizeMembers}}};
constexpr std::array<Kept, 4> poolMembers{{
    {"Internal", internalMembers},
    {"SupportedRAIDTypes"},
    {"Capacity", capacityMembers},
    {"RemainingCapacityPercent"},
}};

constexpr std::array<Kept, 2> partMembers{
    {{"LocationType"}, {"LocationOrdinalValue"}}};
constexpr std::array<Kept, 1> placeMembers{{{"PartLocation", partMembers}}};
constexpr std::array<Kept, 4> counterMembers{
    {{"POH"}, {"ProcessedBytes"}, {"WriteBytes"}, {"ReadBytes"}}};
constexpr std::array<Kept, 1> oemMembers{{{"Mervax", counterMembers}}};
constexpr std::array<Kept, 11> driveMembers{{
    {"PhysicalLocation", placeMembers},
    {"Internal", internalMembers},
    {"Name"},
    {"Manufacturer"},
    {"Model"},
    {"PartNumber"},
    {"SKU"},
    {"SerialNumber"},
    {"FirmwareVersion"},
    {"Protocol"},
    {"Oem", oemMembers},
}};

std::string linesOfItem(const json& item, std::string_view target,
                        const std::string& prefix, bool verbose)
{
    if (target != "Drives")
    {
        return target == "Volumes" ? volumeLine(item, prefix)
                                   : poolLine(item, prefix);
    }
    std::string lines = driveLine(item, prefix);
    const std::string usage = verbose ? driveUsageLine(item, prefix) : "";
    if (!usage.empty())
    {
        lines += '\0' + usage;
    }
    return lines;
}

/** A row is a drive's type of place and its lines. Its subtype tells how long
 *  the former is and, in the low byte, the number of the place. */
std::size_t typeSize(const json& row)
{
    return row.get_binary().subtype() >> 8;
}

std::string_view textOf(const json& row)
{
    const json::binary_t& bytes = row.get_binary();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/** Where a drive sits that may be a row. */
Location placeOf(const json& drive)
{
    if (!drive.is_binary())
    {
        return locationOf(drive);
    }
    return {std::string(textOf(drive).substr(0, typeSize(drive))),
            static_cast<uint8_t>(drive.get_binary().subtype())};
}

} // namespace

std::span<const Kept> membersOf(std::string_view target)
{
    if (target == "Drives")
    {
        return driveMembers;
    }
    return target == "Volumes" ? std::span<const Kept>(volumeMembers)
                               : std::span<const Kept>(poolMembers);
}

json rowOf(const json& item, std::string_view target, const std::string& prefix,
           bool verbose)
{
    const Location place = target == "Drives" ? locationOf(item) : Location();
    const std::string text =
        place.type + linesOfItem(item, target, prefix, verbose);
    return json::binary({text.begin(), text.end()},
                        place.type.size() << 8 | place.ordinal);
}

std::string_view linesOf(const json& row)
{
    return textOf(row).substr(typeSize(row));
}

void visitDrives(const json& items,
                 const std::function<void(const json&)>& visit)
{
    std::map<std::string, std::map<uint8_t, const json*>> placed;
    for (const json& item : items)
    {
        const Location location = placeOf(item);
        const bool waits =
            !location.type.empty() &&
            placed[location.type].try_emplace(location.ordinal, &item).second;
        if (!waits)
        {
            visit(item);
        }
    }
    for (const auto& [type, drives] : placed)
    {
        for (const auto& [ordinal, drive] : drives)
        {
            visit(*drive);
        }
    }
}

} // namespace tool
