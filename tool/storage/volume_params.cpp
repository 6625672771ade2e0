// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/volume_params.hpp"

#include "io/common/src/Text.hpp"
#include "tool/output.hpp"

#include <algorithm>
#include <ranges>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using nlohmann::json;

namespace tool
{

namespace
{

/** dbus-daemon's default for the longest message on the system bus, bytes. */
constexpr std::size_t maxMessageSize = 32UL << 20;

bool beginsWithDigit(std::string_view text)
{
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

/** How many volumes the text asks for, at least 1. */
unsigned long volumeCount(const std::string& params)
{
    const auto count = io::text::findValue(params, "Count=").value_or("");
    return count.empty() ? 1 : std::max(std::stoul(count), 1UL);
}

/** References to the drives of a list; pieces that are no number are left. */
std::vector<json> driveLinks(std::string_view list)
{
    std::vector<json> links;
    for (const auto piece : std::views::split(list, ':'))
    {
        const std::string id(piece.begin(), piece.end());
        if (beginsWithDigit(id))
        {
            links.push_back({{"@odata.id", std::stoul(id)}});
        }
    }
    return links;
}

json valueOf(std::string_view text)
{
    if (text == "true" || text == "false")
    {
        return text == "true";
    }
    if (beginsWithDigit(text))
    {
        return std::stoull(std::string(text));
    }
    return text;
}

/** What the pairs of a parameter text describe. */
struct Volume
{
    json members = json::object();
    std::vector<json> drives; //!< those under "Links" / "Drives", in order

    void addPair(std::string_view key, std::string_view value);
    void addLinks(const char* list, const std::vector<json>& links);
};

void Volume::addLinks(const char* list, const std::vector<json>& links)
{
    for (const json& link : links)
    {
        members["Links"][list].push_back(link);
    }
}

void Volume::addPair(std::string_view key, std::string_view value)
{
    if (key == "Drives")
    {
        const std::vector<json> links = driveLinks(value);
        addLinks("Drives", links);
        drives.insert(drives.end(), links.begin(), links.end());
    }
    else if (key == "Hotspares")
    {
        addLinks("DedicatedSpareDrives", driveLinks(value));
    }
    else if (key != "Count")
    {
        members[std::string(key)] = valueOf(value);
    }
}

Volume parsePairs(std::string_view params)
{
    Volume volume;
    for (const auto piece : std::views::split(params, ','))
    {
        const std::string_view pair(piece.begin(), piece.end());
        const std::size_t equals = pair.find('=');
        if (equals != std::string_view::npos)
        {
            volume.addPair(pair.substr(0, equals), pair.substr(equals + 1));
        }
    }
    return volume;
}

/** Refuse a count whose volumes could not be sent, before they are built. */
void checkSize(const json& volume, unsigned long count)
{
    const std::size_t each =
        volume.dump(-1, ' ', false, json::error_handler_t::replace).size();
    if (count > maxMessageSize / each)
    {
        throw std::length_error("Request is longer than a bus message");
    }
}

/** One request per volume, each with its part of the drives. */
json shareOut(const Volume& volume, unsigned long count)
{
    json common = volume.members;
    common["Links"].erase("Drives");
    checkSize(common, count);

    const std::size_t share = volume.drives.size() / count;
    auto drive = volume.drives.begin();
    json volumes = json::array();
    for (unsigned long i = 0; i < count; ++i)
    {
        json copy = common;
        for (std::size_t j = 0; j < share; ++j)
        {
            copy["Links"]["Drives"].push_back(*drive++);
        }
        volumes.push_back({{"Volume", std::move(copy)}});
    }
    return volumes;
}

} // namespace

bool parseVolumeParams(Options& options, json& request)
{
    const std::string& params = options.params;
    const unsigned long count = volumeCount(params);
    const bool autoConfig = params.find("DrvCnt") != std::string::npos;
    if (autoConfig)
    {
        options.operation = "autocfg";
    }
    Volume volume = parsePairs(params);
    if (volume.members.empty())
    {
        return false;
    }
    request = json::object();
    if (count == 1)
    {
        request["Volume"] = std::move(volume.members);
        return true;
    }
    if (autoConfig)
    {
        // The service has no request for several at once.
        return true;
    }
    if (volume.drives.size() % count != 0)
    {
        out::line({"Drive count ", std::to_string(volume.drives.size()),
                   " mismatch with the expected volume count ",
                   std::to_string(count)});
        return false;
    }
    request = shareOut(volume, count);
    return true;
}

} // namespace tool
