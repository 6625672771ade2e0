#include "tool/storage/item_lines.hpp"

#include "io/common/src/Output.hpp"
#include "tool/json/read.hpp"

#include <cstdint>
#include <map>
#include <vector>

using nlohmann::json;

namespace
{

double toGiB(uint64_t bytes)
{
    constexpr double step = 0.0009765625; // 1/1024
    return static_cast<double>(bytes) * step * step * step;
}

double toGB(uint64_t bytes)
{
    return static_cast<double>(bytes) / 1000000000.0;
}

uint32_t resourceId(const json& item)
{
    return readOr(item, {"Internal", "ResourceId"}, uint32_t{0});
}

/** A number within objects within objects; 0 when it is not there. */
uint64_t readNested(const json& item, std::initializer_list<const char*> keys)
{
    const json* current = &item;
    for (const char* key : keys)
    {
        current = findMember(*current, key);
        if (current == nullptr)
        {
            return 0;
        }
    }
    return readValue<uint64_t>(*current);
}

struct Location
{
    std::string type;
    uint8_t ordinal{0};
};

/** Where a drive sits; an empty type when it does not say. */
Location locationOf(const json& item)
{
    const json* place = findPath(item, {"PhysicalLocation"});
    if (place == nullptr)
    {
        return {};
    }
    return {
        readOr(*place, {"PartLocation", "LocationType"}, std::string()),
        readOr(*place, {"PartLocation", "LocationOrdinalValue"}, uint8_t{255})};
}

/** The line with a drive's power-on hours and byte counters. */
void printUsage(const json& item, const std::string& prefix)
{
    const json* oem = findMember(item, "Oem");
    const json* data = oem == nullptr ? nullptr : findMember(*oem, "Mervax");
    if (data == nullptr)
    {
        return;
    }
    const json* member = findMember(item, "Protocol");
    const std::string protocol =
        (member == nullptr ? json() : *member).get<std::string>();
    const auto counter = [data](const char* key)
    { return readOr(*data, {key}, uint64_t{0}); };
    const auto hours = static_cast<double>(counter("POH"));

    if (protocol == "SAS")
    {
        io::out::print("%s    POH: %.0f,  ProcessedBytes: %.2f(GB)\n",
                       prefix.c_str(), hours, toGB(counter("ProcessedBytes")));
    }
    else if (protocol == "SATA")
    {
        io::out::print("%s    POH: %0.f,  WriteBytes: %.2f(GB),  "
                       "ReadBytes: %.2f(GB)\n",
                       prefix.c_str(), hours, toGB(counter("WriteBytes")),
                       toGB(counter("ReadBytes")));
    }
}

} // namespace

void printVolumeLine(const json& item, const std::string& prefix)
{
    io::out::print("%s%s, ResId %u, %s, %.2fGiB; StripSize=%uKB, %s, %s, "
                   "WtCacheState=%s\n",
                   prefix.c_str(), readText(item, "Name").c_str(),
                   resourceId(item), readText(item, "RAIDType").c_str(),
                   toGiB(readOr(item, {"CapacityBytes"}, uint64_t{0})),
                   readOr(item, {"StripSizeBytes"}, uint32_t{0}) >> 10,
                   readText(item, "ReadCachePolicy").c_str(),
                   readText(item, "WriteCachePolicy").c_str(),
                   readText(item, "WriteCacheState").c_str());
}

void printPoolLine(const json& item, const std::string& prefix)
{
    std::string types;
    for (const std::string& type :
         readOr(item, {"SupportedRAIDTypes"}, std::vector<std::string>()))
    {
        types += type;
        types += ' ';
    }
    const auto bytes = [&item](const char* key) {
        return readNested(item, {"Capacity", "Data", key});
    };

    io::out::print(
        "%sPool %u: %s, Capacity %.2fGiB, Consumed %.2fGiB, Remain %u\n",
        prefix.c_str(), resourceId(item), types.c_str(),
        toGiB(bytes("AllocatedBytes")), toGiB(bytes("ConsumedBytes")),
        unsigned{readOr(item, {"RemainingCapacityPercent"}, uint8_t{255})});
}

std::string driveIdentity(const json& item)
{
    const std::string partNumber = readText(item, "PartNumber");
    if (!partNumber.empty())
    {
        const bool shown =
            readText(item, "Model").find(partNumber) != std::string::npos;
        return shown ? "" : "P/N: " + partNumber + ", ";
    }
    const std::string sku = readText(item, "SKU");
    const bool tells = !sku.empty() && sku != readText(item, "SerialNumber");
    return tells ? "SKU: " + sku + ", " : "";
}

void printDriveLine(const json& item, const Options& options,
                    const std::string& prefix)
{
    const Location location = locationOf(item);
    const uint32_t id = resourceId(item);
    io::out::print(
        "%s%s%u, ResId %u, %s, %s, %s, %s, %sS/N: %s, F/W: %s\n",
        prefix.c_str(), location.type.c_str(), unsigned{location.ordinal}, id,
        readText(item, "Name").c_str(),
        readOr(item, {"Internal", "TypeString"}, std::string()).c_str(),
        readText(item, "Manufacturer").c_str(), readText(item, "Model").c_str(),
        driveIdentity(item).c_str(), readText(item, "SerialNumber").c_str(),
        readText(item, "FirmwareVersion").c_str());
    if (options.verbose)
    {
        printUsage(item, prefix);
    }
}

void printDrives(const json& items, const Options& options,
                 const std::string& prefix)
{
    std::map<std::string, std::map<uint8_t, const json*>> placed;
    for (const json& item : items)
    {
        const Location location = locationOf(item);
        const bool waits =
            !location.type.empty() &&
            placed[location.type].try_emplace(location.ordinal, &item).second;
        if (!waits)
        {
            printDriveLine(item, options, prefix);
        }
    }
    for (const auto& [type, drives] : placed)
    {
        for (const auto& [ordinal, drive] : drives)
        {
            printDriveLine(*drive, options, prefix);
        }
    }
}
