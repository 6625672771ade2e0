// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/JsonText.hpp"
#include "tool/options.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace tool
{

/** A device as a service's update interface describes it. */
struct FirmwareDevice
{
    std::string partNumber;
    std::string name;
    std::string model;
    std::string identifier;
    std::string firmwareVersion;
    std::string updateMethod;
    uint32_t controllerAddress{0};
};

/** What the listing of a group wants of such a list. */
io::Wanted groupWanted(const char* group);

/** Read one group of a service's device list.
 *
 *  The list is an object that holds an array of records per group. A group
 *  that is missing is empty; a missing member is empty or 0.
 *
 *  @throw nlohmann::json::type_error for a value of the wrong type
 */
std::vector<FirmwareDevice> readDevices(const nlohmann::json& list,
                                        const char* group);

/** The line of a device; its texts end at a NUL. */
std::string firmwareLine(const FirmwareDevice& device);

/** Print the devices whose firmware the service of `-s` looks after.
 *
 *  @param updatable those that it can update, or else those that it cannot
 *  @return false, after printing why, when it could not be asked
 */
bool listUpdatableDevices(const DbusConnPtr& bus, const Options& options,
                          bool updatable);

} // namespace tool
