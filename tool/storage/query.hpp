#pragma once

#include "io/common/src/Bus.hpp"

#include <cstdint>
#include <optional>
#include <string>

/** The inventory interface of a storage service. */
inline constexpr const char* storageInventory = "com.mervax.Inventory.Storage";

/** The name of the method that returns a service's resources of one target.
 *
 *  The NVMe service keeps its drives under a name of their own.
 */
std::string storageMethod(const std::string& service,
                          const std::string& target);

/** Call a storage service's "Get…" method.
 *
 *  @param address handed over as one uint32 argument; none for a method
 *                 without arguments
 *  @return the reply, which may be an error reply
 *  @throw sdbusplus::exception::SdBusError when no reply came
 */
sdbusplus::message_t queryStorage(const DbusConnPtr& bus,
                                  const std::string& service,
                                  const std::string& method,
                                  std::optional<uint32_t> address);
