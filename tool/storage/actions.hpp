// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <string>

namespace tool
{

/** Have the service of `-s` delete the volume of `-r`, then wait until it has
 *  refreshed its data.
 *
 *  @return false when it was not deleted, after printing why; does not return
 *          when it was: the update's handler ends the process
 *  @throw sdbusplus::exception::SdBusError when no reply, or one without a
 *         result, came
 */
bool deleteVolume(const DbusConnPtr& bus, const Options& options);

/** Have the service of `-s` drop all volumes of the controller at `-a`, then
 *  wait as deleteVolume() does.
 */
bool clearConfig(const DbusConnPtr& bus, const Options& options);

/** The service's method for an action ("#Drive.SecureErase", "#Drive.Reset"),
 *  null when it has none. */
const char* driveActionMethod(const std::string& action);

/** Run the action that the operation word names on the drive of `-r`; nothing
 *  is waited for.
 *
 *  @return true when the service did it; else prints what went wrong
 *  @throw as deleteVolume()
 */
bool driveAction(const DbusConnPtr& bus, const Options& options);

} // namespace tool
