#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

/** Run the action that the operation word names ("#Drive.SecureErase",
 *  "#Drive.Reset") on the drive of `-r`; nothing is waited for.
 *
 *  @return true when the service did it; prints what goes wrong itself
 */
bool driveAction(const DbusConnPtr& bus, const Options& options);
