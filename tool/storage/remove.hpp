#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

/** Have the service of `-s` delete the volume of `-r`, then wait until it has
 *  refreshed its data.
 *
 *  @return false when it was not deleted, after printing why; does not return
 *          when it was: the update's handler ends the process
 */
bool deleteVolume(const DbusConnPtr& bus, const Options& options);

/** Have the service of `-s` drop all volumes of the controller at `-a`, then
 *  wait as deleteVolume() does.
 */
bool clearConfig(const DbusConnPtr& bus, const Options& options);
