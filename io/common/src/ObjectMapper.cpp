// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/ObjectMapper.hpp"

#include "io/common/src/Targets.hpp"

namespace io::mapper
{

bus::Answer<SubTree> getSubTree(const DbusConnPtr& conn, const char* path,
                                int32_t depth, const std::string& interface)
{
    return bus::ask<SubTree>(conn, target::mapper, "GetSubTree", path, depth,
                             Names{interface});
}

bus::Answer<Names> getSubTreePaths(const DbusConnPtr& conn, const char* path,
                                   int32_t depth, const std::string& interface)
{
    return bus::ask<Names>(conn, target::mapper, "GetSubTreePaths", path, depth,
                           Names{interface});
}

bus::Answer<Names> getServices(const DbusConnPtr& conn, const char* path,
                               const std::string& interface)
{
    const auto found = bus::ask<std::vector<std::pair<std::string, Names>>>(
        conn, target::mapper, "GetObject", path, Names{interface});
    if (!found)
    {
        return std::unexpected(found.error());
    }
    Names services;
    for (const auto& [service, interfaces] : *found)
    {
        services.push_back(service);
    }
    return services;
}

} // namespace io::mapper
