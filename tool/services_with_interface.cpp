// SPDX-License-Identifier: Apache-2.0
#include "tool/services_with_interface.hpp"

#include "io/common/src/ObjectMapper.hpp"
#include "io/common/src/Targets.hpp"
#include "tool/guard.hpp"
#include "tool/output.hpp"

namespace tool
{

namespace
{

void enterServices(const io::mapper::SubTree& tree, const std::string& word,
                   ServicePaths& result)
{
    const io::bus::Service wanted(word);
    for (const auto& [path, services] : tree)
    {
        if ((word.empty() || path == wanted.path) && !services.empty())
        {
            result[services.begin()->first] = path;
        }
    }
}

} // namespace

bool getServicesWithInterface(const DbusConnPtr& conn, const Options& options,
                              const char* interface, ServicePaths& result)
{
    const auto find = [&]
    {
        const auto tree =
            io::mapper::getSubTree(conn, io::target::ownServices, 1, interface);
        if (!tree)
        {
            out::line({"getServicesWithInterface(", interface, ") failed"});
            return false;
        }
        enterServices(*tree, options.service, result);
        return true;
    };
    return guarded("getServicesWithInterface exception: ", find);
}

} // namespace tool
