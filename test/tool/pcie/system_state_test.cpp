// SPDX-License-Identifier: Apache-2.0
#include "tool/pcie/system_state.hpp"

#include <gtest/gtest.h>

#include <iterator>
#include <utility>

namespace tool
{

namespace
{

TEST(BootProgress, namesEveryKnownCode)
{
    const std::pair<uint8_t, const char*> names[]{
        {8, "StartPEI"},
        {16, "MemoryInit"},
        {24, "MemoryTest"},
        {56, "DxeInit"},
        {105, "PowerOnAuthentication"},
        {106, "WaitingForPowerOnPassword"},
        {120, "PostComplete"},
        {136, "BootBMU"},
        {145, "SetupAuthentication"},
        {146, "WaitingForSetupPassword"},
        {160, "F1Setup"},
        {176, "BootUefiOS"},
        {188, "OS Booted (ExitBootServices)"},
        {196, "OS Booted (AcpiEnable)"},
        {209, "SmbiosReady"},
        {254, "ResetSystem"},
    };
    unsigned unknown = 0;
    for (unsigned code = 0; code < 256; ++code)
    {
        const std::string name = bootProgressName(static_cast<uint8_t>(code));
        unknown += name.starts_with("Unknown(0x") ? 1 : 0;
    }
    EXPECT_EQ(unknown, 256 - std::size(names));
    for (const auto& [code, name] : names)
    {
        EXPECT_EQ(bootProgressName(code), name);
    }
}

TEST(BootProgress, showsUnknownCodesInHex)
{
    EXPECT_EQ(bootProgressName(0x00), "Unknown(0x00)");
    EXPECT_EQ(bootProgressName(0xFF), "Unknown(0xFF)");
    EXPECT_EQ(bootProgressName(0x7A), "Unknown(0x7A)");
}

} // namespace

} // namespace tool
