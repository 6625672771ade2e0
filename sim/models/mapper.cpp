// SPDX-License-Identifier: Apache-2.0
#include "sim/models/mapper.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace sim
{

namespace
{

std::string parentOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool wanted(const std::vector<std::string>& held,
            const std::vector<std::string>& interfaces)
{
    return interfaces.empty() ||
           std::find_first_of(held.begin(), held.end(), interfaces.begin(),
                              interfaces.end()) != held.end();
}

std::string withoutLastSlash(std::string path)
{
    if (path.ends_with('/'))
    {
        path.pop_back();
    }
    return path;
}

/** Path words of a path below a root without its last slash, below which "/"
 *  is one as well; 0 when it is not below. */
int depthBelow(const std::string& path, const std::string& root)
{
    if (!path.starts_with(root + "/"))
    {
        return 0;
    }
    auto start = path.begin() + static_cast<std::ptrdiff_t>(root.size());
    return static_cast<int>(std::count(start, path.end(), '/'));
}

} // namespace

void addParents(Holdings& holdings)
{
    std::set<std::string> parents{"/"};
    for (const auto& [path, services] : holdings)
    {
        std::string above = path;
        while (above != "/")
        {
            above = parentOf(above);
            parents.insert(above);
        }
    }
    for (const std::string& path : parents)
    {
        holdings.try_emplace(path);
    }
}

bool knows(const Holdings& holdings, const std::string& root)
{
    std::string path = withoutLastSlash(root);
    return path.empty() || holdings.contains(path);
}

Holdings::mapped_type servicesAt(const Holdings& holdings,
                                 const std::string& path,
                                 const std::vector<std::string>& interfaces)
{
    Holdings::mapped_type result;
    auto object = holdings.find(path);
    if (object == holdings.end())
    {
        return result;
    }
    for (const auto& [service, held] : object->second)
    {
        if (wanted(held, interfaces))
        {
            result.emplace(service, held);
        }
    }
    return result;
}

Holdings subTree(const Holdings& holdings, const std::string& root, int depth,
                 const std::vector<std::string>& interfaces)
{
    Holdings result;
    std::string above = withoutLastSlash(root);
    for (const auto& [path, services] : holdings)
    {
        int level = depthBelow(path, above);
        if (level == 0 || (depth > 0 && level > depth))
        {
            continue;
        }
        auto found = servicesAt(holdings, path, interfaces);
        if (interfaces.empty() || !found.empty())
        {
            result.emplace(path, std::move(found));
        }
    }
    return result;
}

} // namespace sim
