// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

/** The services and objects that the tool talks to, each written down once.
 *  Those that `-s` names are io::bus::Service's; what such a service offers
 *  stands in the header of the subject. */
namespace io::target
{

/** The object mapper (phosphor-objmgr). */
inline constexpr bus::Target mapper{"xyz.openbmc_project.ObjectMapper",
                                    "/xyz/openbmc_project/object_mapper",
                                    "xyz.openbmc_project.ObjectMapper"};

/** Where the mapper looks: below it are the root objects of the BMC's own
 *  services, the inventory, and the backplanes in it. */
inline constexpr const char* ownServices = "/com/mervax";
inline constexpr const char* inventory = "/xyz/openbmc_project/inventory";
inline constexpr const char* backplaneInventory =
    "/xyz/openbmc_project/inventory/backplane";

/** What `-o show -t Objects` looks for when nothing else is named. */
inline constexpr const char* softwareItem =
    "com.mervax.Inventory.Item.SoftwareInventory";

inline constexpr bus::Target chassisState{"xyz.openbmc_project.State.Chassis",
                                          "/xyz/openbmc_project/state/chassis0",
                                          "xyz.openbmc_project.State.Chassis"};

/** What the host's firmware writes into the FPGA's log memory. */
inline constexpr bus::Target fpgaLog{
    "com.mervax.fpga.logmem", "/com/mervax/fpga/logmem", "com.mervax.fpga"};

/** The drive backplanes: the service's own object, and an object of one. */
inline constexpr bus::Target backplanes{"com.mervax.bpm", "/com/mervax/bpm",
                                        "com.mervax.Inventory.DriveBackplane"};

inline constexpr const char* backplaneItem =
    "com.mervax.Inventory.Item.DriveBackplane";

inline bus::Target backplane(const std::string& path)
{
    return {backplanes.service, path.c_str(), backplaneItem};
}

inline constexpr bus::Target eventLog{"com.mervax.eventlogd",
                                      "/com/mervax/eventlogd/event",
                                      "com.mervax.eventlogd.event"};

/** What starts MCTP daemons. */
inline constexpr bus::Target mctpLauncher{
    "xyz.openbmc_project.PMCI_Launcher", "/xyz/openbmc_project/pmci_launcher",
    "xyz.openbmc_project.Configuration.MctpConfiguration"};

/** Every MCTP daemon has the same object, one per binding. */
inline constexpr const char* mctpPath = "/xyz/openbmc_project/mctp";
inline constexpr const char* mctpBase = "xyz.openbmc_project.MCTP.Base";
inline constexpr const char* mctpSmbus =
    "xyz.openbmc_project.MCTP.Binding.SMBus";
inline constexpr const char* mctpPcieBinding =
    "xyz.openbmc_project.MCTP.Binding.PCIe";

/** The daemon of MCTP over PCIe. */
inline constexpr bus::Target mctpPcie{"xyz.openbmc_project.MCTP_PCIe", mctpPath,
                                      mctpBase};

/** A daemon by its bus name, which must outlive the target. */
inline bus::Target mctpDaemon(const std::string& service,
                              const char* interface = mctpBase)
{
    return {service.c_str(), mctpPath, interface};
}

} // namespace io::target
