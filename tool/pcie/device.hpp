// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/JsonText.hpp"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tool
{

/** The numbers that identify a PCIe device in an inventory service's record. */
struct PcieDevice
{
    uint32_t locationNumber{0}; //!< 0 for a device on the board
    uint32_t slotNumber{0};
    uint32_t pcieAddress{0};
    uint32_t vendorId{0};
    uint32_t deviceId{0};
    uint32_t subsystemVendorId{0};
    uint32_t subsystemId{0};
    uint32_t classCode{0}; //!< 24 bits: class, subclass, interface
    std::string name;
};

/** The members of a device record that its lines are made of. */
std::span<const io::Kept> membersOfDevice();

/** Read a device record; missing members are 0 and empty.
 *
 *  @throw nlohmann::json::type_error for a record that is no object, or a
 *         number that is none (a boolean is none)
 */
PcieDevice readPcieDevice(const nlohmann::json& record);

/** Is it a controller with drives and volumes of its own?
 *
 *  PCI class codes 0x010400 (RAID) and 0x010700 (SAS), as they stand.
 */
bool isStorageController(const PcieDevice& device);

/** What the device's line ends with: firmware, or an adapter's class. */
std::string trailingText(const PcieDevice& device,
                         const nlohmann::json& record);

/** The device's line. `service` is the short name of its service. */
std::string deviceLine(const PcieDevice& device, const std::string& service,
                       uint8_t eid, const std::string& trailing);

/** The line with part and serial number, as the others without its end; empty
 * when there is none of them. */
std::string partLine(const nlohmann::json& pcieDevice);

/** The line of the port at a position of the device's list. */
std::string portLine(const nlohmann::json& port, std::size_t position);

} // namespace tool
