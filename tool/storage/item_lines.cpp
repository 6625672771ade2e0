// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/item_lines.hpp"

#include "io/common/src/Text.hpp"
#include "tool/json/read.hpp"

#include <cstdint>
#include <vector>

using nlohmann::json;

namespace tool
{

namespace
{

using io::text::cat;
using io::text::decimal;
using io::text::fixed;

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

std::string gib(uint64_t bytes)
{
    return fixed(toGiB(bytes), 2);
}

std::string gb(uint64_t bytes)
{
    return fixed(toGB(bytes), 2);
}

} // namespace

std::string volumeLine(const json& item, const std::string& prefix)
{
    return cat({prefix, readText(item, "Name").c_str(), ", ResId ",
                decimal(resourceId(item)), ", ",
                readText(item, "RAIDType").c_str(), ", ",
                gib(readOr(item, {"CapacityBytes"}, uint64_t{0})),
                "GiB; StripSize=",
                decimal(readOr(item, {"StripSizeBytes"}, uint32_t{0}) >> 10),
                "KB, ", readText(item, "ReadCachePolicy").c_str(), ", ",
                readText(item, "WriteCachePolicy").c_str(),
                ", WtCacheState=", readText(item, "WriteCacheState").c_str()});
}

std::string poolLine(const json& item, const std::string& prefix)
{
    std::string types;
    for (const std::string& type :
         readOr(item, {"SupportedRAIDTypes"}, std::vector<std::string>()))
    {
        types += type;
        types += ' ';
    }
    const auto size = [&item](const char* key) {
        return gib(readNested(item, {"Capacity", "Data", key}));
    };

    return cat(
        {prefix, "Pool ", decimal(resourceId(item)), ": ", types.c_str(),
         ", Capacity ", size("AllocatedBytes"), "GiB, Consumed ",
         size("ConsumedBytes"), "GiB, Remain ",
         decimal(readOr(item, {"RemainingCapacityPercent"}, uint8_t{255}))});
}

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

std::string driveLine(const json& item, const std::string& prefix)
{
    const Location location = locationOf(item);
    return cat(
        {prefix, location.type.c_str(), decimal(location.ordinal), ", ResId ",
         decimal(resourceId(item)), ", ", readText(item, "Name").c_str(), ", ",
         readOr(item, {"Internal", "TypeString"}, std::string()).c_str(), ", ",
         readText(item, "Manufacturer").c_str(), ", ",
         readText(item, "Model").c_str(), ", ", driveIdentity(item).c_str(),
         "S/N: ", readText(item, "SerialNumber").c_str(),
         ", F/W: ", readText(item, "FirmwareVersion").c_str()});
}

std::string driveUsageLine(const json& item, const std::string& prefix)
{
    const json* oem = findMember(item, "Oem");
    const json* data = oem == nullptr ? nullptr : findMember(*oem, "Mervax");
    if (data == nullptr)
    {
        return "";
    }
    const json* member = findMember(item, "Protocol");
    const auto protocol =
        (member == nullptr ? json() : *member).get<std::string>();
    const auto counter = [data](const char* key)
    { return readOr(*data, {key}, uint64_t{0}); };
    const std::string hours = fixed(static_cast<double>(counter("POH")), 0);
    if (protocol == "SAS")
    {
        return cat({prefix, "    POH: ", hours, ",  ProcessedBytes: ",
                    gb(counter("ProcessedBytes")), "(GB)"});
    }
    if (protocol == "SATA")
    {
        return cat({prefix, "    POH: ", hours,
                    ",  WriteBytes: ", gb(counter("WriteBytes")),
                    "(GB),  ReadBytes: ", gb(counter("ReadBytes")), "(GB)"});
    }
    return "";
}

} // namespace tool
