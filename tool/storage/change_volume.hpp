// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace tool
{

/** Create or edit volumes as `-p` or the file of `-f` describes them; prints
 *  the request first.
 *
 *  @throw what parseVolumeParams(), readRequestFile() and printJson() throw
 */
bool createOrEdit(const DbusConnPtr& bus, const Options& options);

/** Ask the service of `-s` to create volumes, to configure some by itself
 *  ("autocfg") or to change the volume of `-r`, then wait until it has
 *  refreshed its data.
 *
 *  @param request {"Volume": …}; for several volumes an array of such, or an
 *                 object with that array as "Volumes". Sent as it stands.
 *  @return false when the change was not made, after printing why; does not
 *          return when it was: the update's handler ends the process
 */
bool createOrEditVolume(const DbusConnPtr& bus, const Options& options,
                        const nlohmann::json& request);

/** Ask a service to choose the drives for a volume by itself.
 *
 *  @param request its "Volume" must have "RAIDType" and "DrvCnt"
 *  @return the service's result, 0 on success; -1 when it was not asked or
 *          answered with an error, which is printed
 *  @throw nlohmann::json::type_error for a member of the wrong type
 *  @throw sdbusplus::exception::SdBusError when no reply, or one without a
 *         result, came
 */
int32_t autoConfigVolume(const DbusConnPtr& bus, const std::string& busName,
                         const std::string& path, const Options& options,
                         const nlohmann::json& request);

} // namespace tool
