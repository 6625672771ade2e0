// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <cstdint>
#include <string>

namespace io
{

class ServiceUtility
{
  public:
    /** Read one property by org.freedesktop.DBus.Properties.Get.
     *
     *  Instantiated for std::string and uint8_t. A variant of another type
     *  fails for text; for a byte it is skipped and the value becomes 0. The
     *  last argument is carried for callers with a time-out of their own and
     *  not used.
     *
     *  @return true with `value` set; false with `value` unchanged when the
     *          read failed, after an error record in the journal that names
     *          the service
     */
    template <typename T>
    static bool getProperty(const DbusConnectionPtr& conn, const char* service,
                            const char* path, const char* interface,
                            const char* property, T& value,
                            uint32_t unused = 0);

    /** The same, with the name that the journal shows as the source. */
    template <typename T>
    static bool readProperty(const DbusConnectionPtr& conn,
                             const bus::Target& target, const char* property,
                             T& value, const char* source);
};

} // namespace io
