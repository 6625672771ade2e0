#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/Options.hpp"

/** Print one PCIe device's document, as the service of `-s` reports it.
 *
 *  @return true when it was printed; prints what goes wrong itself
 */
bool showDeviceInfo(const DbusConnPtr& bus, const Options& options);

/** Print all that the service of `-s` holds for the target of `-t`.
 *
 *  @return true when the document has the target's member and was printed;
 *          prints what a service or its document lacks
 *  @throw nlohmann::json::exception, sdbusplus::exception::SdBusError as
 *         parsing and the call raise them
 */
bool showStorageResources(const DbusConnPtr& bus, const Options& options);
