// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <optional>
#include <string>

namespace tool
{

/** The interface that a service offers for the firmware of its devices. */
inline constexpr const char* firmwareUpdater =
    "com.mervax.Firmware.Device.Updater";

/** Without `-f`, print the devices of the service of `-s`. Else have it update
 *  every device of a part number ("PN=" in `-p`, or what the file's name begins
 *  with) with the file of `-f`, and follow its progress.
 *
 *  @return false, after printing why, when the update did not start or the
 *          devices could not be listed; does not return when it started: the
 *          progress handler ends the process
 *  @throw sdbusplus::exception::SdBusError when the bus goes in the wait
 */
bool updateFirmware(const DbusConnPtr& bus, const Options& options);

/** The part number that a firmware file's name begins with, up to its last
 *  underscore: "ABC123" of "/tmp/ABC123_v1.bin".
 *
 *  None when the name has no folder, no underscore behind it or nothing before
 *  the underscore.
 */
std::optional<std::string> partNumberOfFile(const std::string& file);

} // namespace tool
