// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace io
{

/** I2C buses as the kernel names their adapters in sysfs.
 *
 *  A multiplexer gives each of its channels a bus number of its own, and the
 *  adapter's name says on which bus the multiplexer sits ("i2c-3-mux
 *  (chan_id 1)", drivers/i2c/i2c-mux.c). Any other adapter is a root bus.
 */
class I2CBus
{
  public:
    /** A bus number that is not known. */
    static constexpr uint8_t unknown = 0xFF;

    /** The root bus of a bus, `unknown` when there is no such bus.
     *
     *  One step only: a channel of a multiplexer that sits on a channel itself
     *  leads to that channel's bus.
     *
     *  @throw std::invalid_argument, std::out_of_range when the name of a
     *         channel has no number where its parent belongs
     */
    static uint8_t getRootBus(uint8_t bus);

    /** Can the name of the bus's adapter be read? */
    static bool exists(uint8_t bus);

    /** Does the bus exist, and is it no channel of a multiplexer? */
    static bool isRootBus(uint8_t bus);

    /** The bus that an adapter name leads to; getRootBus() on its first line.
     *
     *  @param bus the adapter's own number
     *  @param path where the name was found, for the journal
     */
    static uint8_t rootBusByName(uint8_t bus, std::string_view name,
                                 const std::string& path);

    /** Directory of the kernel's I2C devices and prefix of a bus's number. */
    static constexpr const char* devicePrefix = "/sys/bus/i2c/devices/i2c-";
};

} // namespace io
