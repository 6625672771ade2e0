#include "io/common/src/ObjectMapper.hpp"

#include "io/common/src/Output.hpp"

#include <cstdint>
#include <exception>

namespace mapper = io::mapper;

bool getServicesWithInterface(
    const DbusConnPtr& conn, const Options& options, const char* interface,
    std::unordered_map<std::string, std::string>& result)
{
    try
    {
        const std::vector<std::string> interfaces{interface};
        sdbusplus::message_t reply = io::bus::callMethod(
            conn, mapper::service, mapper::path, mapper::interface,
            "GetSubTree", "/com/mervax", int32_t{1}, interfaces);
        if (reply.is_method_error())
        {
            io::out::line({"getServicesWithInterface(", interface, ") failed"});
            return false;
        }
        mapper::SubTree tree;
        reply.read(tree);

        const std::string wanted = options.service.empty()
                                     ? std::string()
                                     : io::bus::servicePath(options.service);
        for (const auto& [path, services] : tree)
        {
            if ((wanted.empty() || path == wanted) && !services.empty())
            {
                result[services.begin()->first] = path;
            }
        }
        return true;
    }
    catch (const std::exception& failure)
    {
        io::out::line({"getServicesWithInterface exception: ", failure.what()});
        return false;
    }
}
