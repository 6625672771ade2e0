// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "tool/options.hpp"

#include <boost/container/flat_map.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace storage
{

/** A backplane that drives are plugged into. */
struct DriveBackplane
{
    uint8_t i2cBus{255};      //!< 255: not known
    uint8_t startSlot{0};     //!< its first drive bay
    uint8_t numberOfSlots{0}; //!< drive bays that it has
    bool isBootKit{false};
    std::string name;
    std::string description;
    std::string formFactor;
    std::string location;
    std::vector<uint8_t> pcieSlots;
};

/** Properties of a backplane object; a value of any other type is the empty
 *  alternative. */
using BackplaneProperties =
    boost::container::flat_map<std::string,
                               std::variant<std::monostate, bool, uint8_t,
                                            std::vector<uint8_t>, std::string>>;

/** The backplane that the properties describe.
 *
 *  A property that is missing, or is of another type, leaves its default and
 *  an error record in the journal.
 */
DriveBackplane readBackplane(const BackplaneProperties& properties);

/** A backplane in one line; the range of bays ends one past the last. */
std::string formatBackplane(const DriveBackplane& backplane);

/** Fetch the server's drive backplanes in the object mapper's order.
 *
 *  @param[out] backplanes is appended to
 *  @return 0 on success; otherwise the journal tells what went wrong
 */
int fetchDriveBackplaneObjects(
    const DbusConnPtr& bus,
    std::vector<std::shared_ptr<DriveBackplane>>& backplanes);

} // namespace storage

namespace tool
{

/** Print the server's drive backplanes, a line each.
 *
 *  @return true when they could be fetched; nothing is printed when not
 */
bool showBackplanes(const DbusConnPtr& bus, const Options& options);

} // namespace tool
