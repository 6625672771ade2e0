// SPDX-License-Identifier: Apache-2.0
#include "sim/scenario/scenario.hpp"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <utility>

namespace sim
{

namespace
{

Json parseFile(const std::string& file)
{
    std::ifstream stream(file);
    if (!stream)
    {
        throw ScenarioError(file + ": cannot be opened");
    }
    try
    {
        return Json::parse(stream);
    }
    catch (const Json::exception& error)
    {
        throw ScenarioError(file + ": " + error.what());
    }
}

std::string folderOf(const std::string& file)
{
    return std::filesystem::path(file).parent_path().string();
}

std::string withIndex(std::string text, uint64_t index)
{
    static const std::string mark = "{index}";
    std::string digits = std::to_string(index);
    for (size_t at = text.find(mark); at != std::string::npos;
         at = text.find(mark, at + digits.size()))
    {
        text.replace(at, mark.size(), digits);
    }
    return text;
}

/** The item with its number filled in. */
Json numbered(const Json& item, uint64_t index)
{
    if (item == "@index")
    {
        return index;
    }
    if (item.is_string())
    {
        return withIndex(item.get<std::string>(), index);
    }
    Json result = item;
    if (item.is_structured())
    {
        for (Json& member : result)
        {
            member = numbered(member, index);
        }
    }
    return result;
}

void appendExpanded(Json& items, const Json& item, const std::string& folder)
{
    if (!item.is_object() || !item.contains("@repeat"))
    {
        items.push_back(expand(item, folder));
        return;
    }
    Node node(item, "@repeat");
    node.allowOnly({"@repeat", "item"});
    Json pattern = expand(node.at("item").json(), folder);
    uint64_t count = node.at("@repeat").number();
    for (uint64_t index = 0; index < count; ++index)
    {
        items.push_back(numbered(pattern, index));
    }
}

Json fromFile(const Json& reference, const std::string& folder)
{
    Node node(reference, "@file");
    node.allowOnly({"@file"});
    std::string file =
        (std::filesystem::path(folder) / node.at("@file").text()).string();
    return expand(parseFile(file), folderOf(file));
}

} // namespace

Json expand(const Json& document, const std::string& folder)
{
    if (document.is_array())
    {
        Json items = Json::array();
        for (const Json& item : document)
        {
            appendExpanded(items, item, folder);
        }
        return items;
    }
    if (!document.is_object())
    {
        return document;
    }
    if (document.contains("@file"))
    {
        return fromFile(document, folder);
    }
    Json result = Json::object();
    for (const auto& [key, member] : document.items())
    {
        result[key] = expand(member, folder);
    }
    return result;
}

Json loadScenario(const std::vector<std::string>& files)
{
    Json scenario;
    for (const std::string& file : files)
    {
        Json document = expand(parseFile(file), folderOf(file));
        if (!document.is_object())
        {
            throw ScenarioError(file + ": must be an object");
        }
        // A patch drops nulls; the first file keeps those it has.
        if (scenario.is_null())
        {
            scenario = std::move(document);
        }
        else
        {
            scenario.merge_patch(document);
        }
    }
    return scenario;
}

} // namespace sim
