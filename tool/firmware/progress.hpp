// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <nlohmann/json.hpp>
#include <sdbusplus/bus/match.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace tool
{

/** What a service reports about a running update, in the order it is read. */
struct ProgressRecord
{
    uint32_t errorCode{0}; //!< 0 while all goes well
    uint32_t progress{0};  //!< percent
    uint32_t completed{0}; //!< devices done
    uint32_t total{0};     //!< devices to do
    uint32_t elapsed{0};   //!< seconds since the start
    uint32_t remaining{0}; //!< seconds, estimated
};

/** Read a progress record.
 *
 *  Any number counts: an integer is cut to its low 32 bits, a floating number
 *  beyond them becomes the nearest end.
 *
 *  @param[out] record filled as far as the members are there
 *  @return the name of the first member that is missing, null when none is
 *  @throw nlohmann::json::type_error for a member that is not a number
 */
const char* readProgress(const nlohmann::json& data, ProgressRecord& record);

/** Exit status that a record ends the update with; none while it goes on. */
std::optional<int> exitStatusOf(const ProgressRecord& record);

/** Where the update stands. */
std::string progressLine(const ProgressRecord& record);

/** Print it.
 *
 *  A percentage line takes the place of the line above it on a terminal.
 */
void printProgress(const ProgressRecord& record);

/** Watch for a service's progress signals. */
[[nodiscard]] sdbusplus::bus::match_t subscribeProgress(const DbusConnPtr& bus);

/** Handle one progress signal: a JSON text.
 *
 *  Prints it and ends the process when the update is over, with 0, or 255 when
 *  it failed. What cannot be read is reported and ignored.
 */
void deviceUpdateStatusChangedCallback(sdbusplus::message_t& message);

} // namespace tool
