#include "io/common/src/ServiceUtility.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>
#include <type_traits>
#include <utility>
#include <variant>

namespace io
{

namespace
{

/** Take the value out of the reply's variant.
 *
 *  Reading a variant that holds none of the alternatives throws nothing but
 *  leaves the first of them, so the first one decides what another type means.
 */
template <typename T>
T readVariant(sdbusplus::message_t& reply)
{
    if constexpr (std::is_same_v<T, uint8_t>)
    {
        std::variant<uint8_t> held;
        reply.read(held);
        return std::get<uint8_t>(held);
    }
    else
    {
        std::variant<std::monostate, T> held;
        reply.read(held);
        return std::get<T>(std::move(held));
    }
}

} // namespace

template <typename T>
bool ServiceUtility::getPropertyOf(const char* source,
                                   const DbusConnectionPtr& conn,
                                   const char* service, const char* path,
                                   const char* interface, const char* property,
                                   T& value)
{
    try
    {
        sdbusplus::message_t reply = bus::callMethod(
            conn, service, path, "org.freedesktop.DBus.Properties", "Get",
            interface, property);
        if (reply.is_method_error())
        {
            lg2::error("[ERR] Get {S} property {P} failed", "S", source, "P",
                       property);
            return false;
        }
        value = readVariant<T>(reply);
        return true;
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Get {S} property {P} exception. {E}", "S", source,
                   "P", property, "E", failure);
        return false;
    }
}

template bool ServiceUtility::getPropertyOf<std::string>(
    const char*, const DbusConnectionPtr&, const char*, const char*,
    const char*, const char*, std::string&);
template bool ServiceUtility::getPropertyOf<uint8_t>(const char*,
                                                     const DbusConnectionPtr&,
                                                     const char*, const char*,
                                                     const char*, const char*,
                                                     uint8_t&);

} // namespace io
