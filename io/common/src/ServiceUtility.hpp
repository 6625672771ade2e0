// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <phosphor-logging/lg2.hpp>

#include <cstdint>
#include <exception>
#include <utility>

namespace io
{

class ServiceUtility
{
  public:
    /** Read one property by org.freedesktop.DBus.Properties.Get.
     *
     *  A variant of another type fails for text; for a byte it is skipped and
     *  the value becomes 0. The last argument is carried for callers with a
     *  time-out of their own and not used.
     *
     *  @return true with `value` set; false with `value` unchanged when the
     *          read failed, after an error record in the journal that names
     *          the service
     */
    template <typename T>
    static bool getProperty(const DbusConnectionPtr& conn, const char* service,
                            const char* path, const char* interface,
                            const char* property, T& value,
                            uint32_t /*unused*/ = 0)
    {
        return readProperty(conn, {service, path, interface}, property, value,
                            service);
    }

    /** The same, with the name that the journal shows as the source. */
    template <typename T>
    static bool readProperty(const DbusConnectionPtr& conn,
                             const bus::Target& target, const char* property,
                             T& value, const char* source)
    {
        try
        {
            auto read = bus::property<T>(conn, target, property);
            if (!read)
            {
                lg2::error("[ERR] Get {S} property {P} failed", "S", source,
                           "P", property);
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
};

} // namespace io
