// SPDX-License-Identifier: Apache-2.0
#include "random_document.hpp"

#include <iterator>

namespace fuzz
{

enum class Kind
{
    text,
    count,
    types,
    object,
    array,
    any,
};

/** A member that a listing reads, and where it stands: in an item, or in what
 *  has that name. */
struct Known
{
    const char* key;
    Kind kind;
    std::string_view parent;
};

namespace
{

constexpr const char* lists[] = {"Drives", "Volumes", "StoragePools",
                                 "PCIeDeviceComplexes", "Updatable"};

constexpr Known known[] = {
    {"Name", Kind::text, ""},
    {"RAIDType", Kind::text, ""},
    {"ReadCachePolicy", Kind::text, ""},
    {"WriteCachePolicy", Kind::text, ""},
    {"WriteCacheState", Kind::text, ""},
    {"Manufacturer", Kind::text, ""},
    {"Model", Kind::text, ""},
    {"PartNumber", Kind::text, ""},
    {"SKU", Kind::text, ""},
    {"SerialNumber", Kind::text, ""},
    {"FirmwareVersion", Kind::text, ""},
    {"Protocol", Kind::text, ""},
    {"Identifier", Kind::text, ""},
    {"UpdateMethod", Kind::text, ""},
    {"CapacityBytes", Kind::count, ""},
    {"StripSizeBytes", Kind::count, ""},
    {"RemainingCapacityPercent", Kind::count, ""},
    {"LocationNumber", Kind::count, ""},
    {"SlotNumber", Kind::count, ""},
    {"PCIeAddress", Kind::count, ""},
    {"VendorId", Kind::count, ""},
    {"DeviceId", Kind::count, ""},
    {"SubsystemVendorId", Kind::count, ""},
    {"SubsystemId", Kind::count, ""},
    {"ClassCode", Kind::count, ""},
    {"ControllerAddress", Kind::count, ""},
    {"SupportedRAIDTypes", Kind::types, ""},
    {"Internal", Kind::object, ""},
    {"ResourceId", Kind::count, "Internal"},
    {"TypeString", Kind::text, "Internal"},
    {"PhysicalLocation", Kind::object, ""},
    {"PartLocation", Kind::object, "PhysicalLocation"},
    {"LocationType", Kind::text, "PartLocation"},
    {"LocationOrdinalValue", Kind::count, "PartLocation"},
    {"Oem", Kind::object, ""},
    {"Mervax", Kind::object, "Oem"},
    {"POH", Kind::count, "Mervax"},
    {"ProcessedBytes", Kind::count, "Mervax"},
    {"WriteBytes", Kind::count, "Mervax"},
    {"ReadBytes", Kind::count, "Mervax"},
    {"TxUtilization", Kind::count, "Mervax"},
    {"RxUtilization", Kind::count, "Mervax"},
    {"PermanentAddress", Kind::text, "Mervax"},
    {"NCSI", Kind::object, "Mervax"},
    {"PackageId", Kind::count, "NCSI"},
    {"Capacity", Kind::object, ""},
    {"Data", Kind::object, "Capacity"},
    {"AllocatedBytes", Kind::count, "Data"},
    {"ConsumedBytes", Kind::count, "Data"},
    {"PCIeDevice", Kind::object, ""},
    {"Name", Kind::text, "PCIeDevice"},
    {"PartNumber", Kind::text, "PCIeDevice"},
    {"SKU", Kind::text, "PCIeDevice"},
    {"SerialNumber", Kind::text, "PCIeDevice"},
    {"Manufacturer", Kind::text, "PCIeDevice"},
    {"SoftwareInventorySet", Kind::object, ""},
    {"Version", Kind::text, "SoftwareInventorySet"},
    {"ReleaseDate", Kind::text, "SoftwareInventorySet"},
    {"PCIeFunctions", Kind::array, ""},
    {"DeviceClass", Kind::text, "PCIeFunctions"},
    {"ClassCode", Kind::text, "PCIeFunctions"},
    {"Ports", Kind::array, ""},
    {"PortId", Kind::text, "Ports"},
    {"Id", Kind::text, "Ports"},
    {"LinkStatus", Kind::text, "Ports"},
    {"CurrentSpeedGbps", Kind::count, "Ports"},
    {"Oem", Kind::object, "Ports"},
    {"", Kind::any, "nowhere"},
    {"Else", Kind::any, "nowhere"},
    {"name", Kind::any, "nowhere"},
    {"\\u0000", Kind::any, "nowhere"},
    {"\\u00e4", Kind::any, "nowhere"},
};

constexpr const char* strings[] = {
    R"("")",    R"("Bay")",       R"("SAS")",      R"("SATA")",
    R"("x")",   R"("a\u0000b")",  R"("Slot")",     R"("\ud83d\ude00 \n\"")",
    R"("QX9")", R"("Adapter 9")", R"("01:02:03")", "\"\x7f\xc3\xa4\""};

constexpr const char* counts[] = {
    "0",   "1",     "2",     "-1",      "255",
    "256", "66560", "1e3",   "0.5",     "18446744073709551615",
    "-0",  "1e308", "-1e19", "1048576", "123456789012345678901"};

constexpr const char* others[] = {
    "null",          "true", "false", "{}", "[]", R"(["RAID0","RAID1"])",
    R"([["RAID0"]])"};

constexpr const char* broken[] = {",",        "]",     "}",    "nul",
                                  "\"\xff\"", "1e999", "01",   "\"\\ud800\"",
                                  "[[[",      "\"",    "{1:2}"};

} // namespace

std::size_t RandomDocument::below(std::size_t limit)
{
    return random() % limit;
}

bool RandomDocument::oneIn(std::size_t limit)
{
    return below(limit) == 0;
}

std::string RandomDocument::pick(std::span<const char* const> words)
{
    return words[below(words.size())];
}

/** A value of any kind. */
std::string RandomDocument::anything(unsigned level)
{
    switch (below(level < 5 ? 5 : 3))
    {
        case 0:
            return pick(others);
        case 1:
            return pick(counts);
        case 2:
            return pick(strings);
        case 3:
            return array("", level + 1);
        default:
            return object("", level + 1);
    }
}

/** A key and a value, of the kind that the key goes with as a rule. */
std::string RandomDocument::member(std::string_view parent, unsigned level)
{
    const Known* found = &known[below(std::size(known))];
    for (int tries = 0; tries < 40 && found->parent != parent; ++tries)
    {
        found = &known[below(std::size(known))];
    }
    return '"' + std::string(found->key) +
           "\":" + (oneIn(60) ? anything(level) : valueOf(*found, level));
}

std::string RandomDocument::valueOf(const Known& known, unsigned level)
{
    switch (known.kind)
    {
        case Kind::text:
            return pick(strings);
        case Kind::count:
            return pick(counts);
        case Kind::types:
            return R"(["RAID0","RAID1"])";
        case Kind::object:
            return object(known.key, level + 1);
        case Kind::array:
            return array(known.key, level + 1);
        default:
            return anything(level);
    }
}

std::string RandomDocument::object(std::string_view parent, unsigned level)
{
    std::string text;
    for (std::size_t left = below(level < 3 ? 24 : 6); left > 0; --left)
    {
        text += member(parent, level) + (left > 1 ? "," : "");
    }
    return '{' + text + '}';
}

std::string RandomDocument::array(std::string_view parent, unsigned level)
{
    std::string text;
    for (std::size_t left = below(5); left > 0; --left)
    {
        text += oneIn(50) ? anything(level) : object(parent, level);
        text += left > 1 ? "," : "";
    }
    return '[' + text + ']';
}

/** What no document has: a piece too much, or an end too early. */
void RandomDocument::damage(std::string& document)
{
    const std::size_t place = below(document.size());
    switch (below(4))
    {
        case 0:
            document.resize(place);
            break;
        case 1:
            document.insert(place, std::string(100 + below(500), '['));
            break;
        case 2:
            document.erase(place, 1 + below(3));
            break;
        default:
            document.insert(place, pick(broken));
    }
}

std::string RandomDocument::text()
{
    if (oneIn(40))
    {
        return anything(0);
    }
    std::string document;
    for (std::size_t left = 1 + below(4); left > 0; --left)
    {
        document += '"' + pick(lists) + "\":";
        document += oneIn(12) ? anything(1) : array("", 1);
        document += left > 1 ? "," : "";
    }
    document = '{' + document + '}';
    if (oneIn(6))
    {
        damage(document);
    }
    return document;
}

} // namespace fuzz
