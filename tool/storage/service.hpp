// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/JsonText.hpp"
#include "tool/options.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>

/** What a storage service offers, by interface. */
namespace tool::storage_interface
{

inline constexpr const char* inventory = "com.mervax.Inventory.Storage";
inline constexpr const char* operation = "com.mervax.Operation.Storage";
inline constexpr const char* volume = "com.mervax.Operation.Storage.Volume";
inline constexpr const char* drive = "com.mervax.Operation.Storage.Drive";
inline constexpr const char* misc = "com.mervax.Operation.Storage.Misc";

} // namespace tool::storage_interface

namespace tool
{

/** Ask the service of a word for the resources of one target.
 *
 *  The NVMe service keeps its drives under a name of their own.
 *
 *  @param address handed over as one argument, if there is one; the method
 *         "GetAllDrives" takes none
 *  @return the document, or what is wanted of it, or the service's error reply
 *  @throw nlohmann::json::exception, std::length_error for a text that is no
 *         document; sdbusplus::exception::SdBusError when no reply came
 */
io::bus::Answer<nlohmann::json> fetchResources(const DbusConnPtr& bus,
                                               const std::string& service,
                                               const std::string& target,
                                               std::optional<uint32_t> address,
                                               const io::Wanted& wanted = {});

/** `-r` as the services take it. */
uint32_t resourceIdOf(const Options& options);

} // namespace tool
