// SPDX-License-Identifier: Apache-2.0
#include "tool/pcie/system_state.hpp"

#include "io/common/src/ServiceUtility.hpp"
#include "io/common/src/Targets.hpp"
#include "io/common/src/Text.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tool
{

namespace
{

/** UEFI progress codes that the host's firmware writes, in ascending order. */
constexpr std::array<std::pair<uint8_t, const char*>, 16> progressNames{{
    {0x08, "StartPEI"},
    {0x10, "MemoryInit"},
    {0x18, "MemoryTest"},
    {0x38, "DxeInit"},
    {0x69, "PowerOnAuthentication"},
    {0x6A, "WaitingForPowerOnPassword"},
    {0x78, "PostComplete"},
    {0x88, "BootBMU"},
    {0x91, "SetupAuthentication"},
    {0x92, "WaitingForSetupPassword"},
    {0xA0, "F1Setup"},
    {0xB0, "BootUefiOS"},
    {0xBC, "OS Booted (ExitBootServices)"},
    {0xC4, "OS Booted (AcpiEnable)"},
    {0xD1, "SmbiosReady"},
    {0xFE, "ResetSystem"},
}};

} // namespace

bool getChassisPowerState(const DbusConnPtr& bus, std::string& state)
{
    return io::ServiceUtility::readProperty(bus, io::target::chassisState,
                                            "CurrentPowerState", state,
                                            io::target::chassisState.service);
}

void getBootProgress(const DbusConnPtr& bus, std::string& text)
{
    uint8_t code = 0;
    const bool known = io::ServiceUtility::readProperty(
        bus, io::target::fpgaLog, "UefiProgressCode", code,
        io::target::fpgaLog.interface);
    text = known ? bootProgressName(code) : "Unknown";
}

std::string bootProgressName(uint8_t code)
{
    const auto* found = std::lower_bound(
        progressNames.begin(), progressNames.end(), code,
        [](const auto& entry, uint8_t wanted) { return entry.first < wanted; });
    if (found != progressNames.end() && found->first == code)
    {
        return found->second;
    }
    return io::text::cat({"Unknown(0x", io::text::upperHex(code, 2), ")"});
}

} // namespace tool
