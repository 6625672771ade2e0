// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <sdbusplus/bus/match.hpp>

namespace tool
{

/** Watch for the signal that a storage service emits when it has refreshed its
 *  data after a change.
 *
 *  To be called before the change is asked for, since the signal may come
 *  before the reply. Both the returned match and `options` must outlive the
 *  wait.
 *
 *  @throw sdbusplus::exception::SdBusError when the bus refuses the match
 */
[[nodiscard]] sdbusplus::bus::match_t
subscribeStorageUpdated(const DbusConnPtr& bus, const Options& options);

/** Handle one such signal: device address, name, refreshed JSON data.
 *
 *  One for another device, or with an empty text, is none of ours. Else prints
 *  what was refreshed when and how long it took since the tool started, with
 *  `-v` the data too, and ends the process: with 0, or with 255 when the
 *  signal cannot be read or, with `-v`, its data cannot be parsed.
 */
void storageResourceUpdatedCallback(const Options& options,
                                    sdbusplus::message_t& message);

} // namespace tool
