// SPDX-License-Identifier: Apache-2.0
#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>

namespace sdbusplus::exception
{

SdBusError::SdBusError(int error, const char* prefix) : text(prefix)
{
    sd_bus_error named{};
    sd_bus_error_set_errno(&named, error);
    text.append(": ").append(named.name).append(": ").append(named.message);
    sd_bus_error_free(&named);
}

const char* SdBusError::what() const noexcept
{
    return text.c_str();
}

} // namespace sdbusplus::exception
