#include "tool/pcie/system_state.hpp"

#include "io/common/src/ServiceUtility.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

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
    return io::ServiceUtility::getProperty(
        bus, "xyz.openbmc_project.State.Chassis",
        "/xyz/openbmc_project/state/chassis0",
        "xyz.openbmc_project.State.Chassis", "CurrentPowerState", state);
}

void getBootProgress(const DbusConnPtr& bus, std::string& text)
{
    const char* interface = "com.mervax.fpga";
    uint8_t code = 0;
    const bool known = io::ServiceUtility::getPropertyOf(
        interface, bus, "com.mervax.fpga.logmem", "/com/mervax/fpga/logmem",
        interface, "UefiProgressCode", code);
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
    char text[16];
    std::snprintf(text, sizeof(text), "Unknown(0x%02X)", unsigned{code});
    return text;
}

std::string afterLastDot(const std::string& text)
{
    const std::size_t dot = text.rfind('.');
    return dot == std::string::npos ? text : text.substr(dot + 1);
}
