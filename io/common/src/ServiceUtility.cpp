// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/ServiceUtility.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>

namespace io
{

template <typename T>
bool ServiceUtility::readProperty(const DbusConnectionPtr& conn,
                                  const bus::Target& target,
                                  const char* property, T& value,
                                  const char* source)
{
    try
    {
        auto read = bus::property<T>(conn, target, property);
        if (!read)
        {
            lg2::error("[ERR] Get {S} property {P} failed", "S", source, "P",
                       property);
            return false;
        }
        value = std::move(*read);
        return true;
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Get {S} property {P} exception. {E}", "S", source,
                   "P", property, "E", failure);
        return false;
    }
}

template <typename T>
bool ServiceUtility::getProperty(const DbusConnectionPtr& conn,
                                 const char* service, const char* path,
                                 const char* interface, const char* property,
                                 T& value, uint32_t /*unused*/)
{
    return readProperty(conn, {service, path, interface}, property, value,
                        service);
}

template bool ServiceUtility::readProperty(const DbusConnectionPtr&,
                                           const bus::Target&, const char*,
                                           std::string&, const char*);
template bool ServiceUtility::readProperty(const DbusConnectionPtr&,
                                           const bus::Target&, const char*,
                                           uint8_t&, const char*);
template bool ServiceUtility::getProperty(const DbusConnectionPtr&, const char*,
                                          const char*, const char*, const char*,
                                          std::string&, uint32_t);
template bool ServiceUtility::getProperty(const DbusConnectionPtr&, const char*,
                                          const char*, const char*, const char*,
                                          uint8_t&, uint32_t);

} // namespace io
