#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

#include <cstdint>

/** The operations that a storage service offers, by interface. */
inline constexpr const char* storageOperation = "com.mervax.Operation.Storage";
inline constexpr const char* volumeOperation =
    "com.mervax.Operation.Storage.Volume";
inline constexpr const char* driveOperation =
    "com.mervax.Operation.Storage.Drive";
inline constexpr const char* miscOperation =
    "com.mervax.Operation.Storage.Misc";

/** Call a method at the root object of the service that `-s` names.
 *
 *  @return the reply, which may be an error reply
 *  @throw sdbusplus::exception::SdBusError when no reply came
 */
template <typename... Args>
sdbusplus::message_t callStorage(const DbusConnPtr& bus, const Options& options,
                                 const char* interface, const char* method,
                                 const Args&... args)
{
    return io::bus::callMethod(bus, io::bus::serviceName(options.service),
                               io::bus::servicePath(options.service), interface,
                               method, args...);
}

/** Read the result that a storage operation returns; 0 is success.
 *
 *  @throw sdbusplus::exception::SdBusError when the reply carries none
 */
inline int32_t readResult(sdbusplus::message_t& reply)
{
    int32_t result = -1;
    reply.read(result);
    return result;
}

/** `-r` as the services take it. */
inline uint32_t resourceIdOf(const Options& options)
{
    return static_cast<uint32_t>(options.resourceId);
}
