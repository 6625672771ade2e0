// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/** Attestation is a module of its own, so that no other operation loads the
 *  crypto library. */
namespace attest
{

/** How the module prints: text for standard output, as it stands. */
using Print = void (*)(std::string_view text) noexcept;

/** What the module does: attest the device at an address.
 *
 *  @param rootCertDir folder of root certificates, may be empty
 *  @return true on success; what went wrong is in the journal or printed
 */
using Entry = bool (*)(const DbusConnPtr& bus, uint32_t address,
                       const std::string& rootCertDir, Print print) noexcept;

/** The module's symbols: the entry, and the version that it was built for. */
inline constexpr const char* entrySymbol = "zantricAttest";
inline constexpr const char* versionSymbol = "zantricAttestVersion";

/** Where the module may be, in the order of looking: the executable's own
 *  folder, then where it is installed. Absolute paths; neither the current
 *  folder nor the environment is asked. */
std::vector<std::string> modulePaths();

/** Load the module and find its entry.
 *
 *  It stays loaded until the process ends.
 *
 *  @throw std::runtime_error with what the dynamic linker says, or when the
 *         module belongs to another version of the tool
 */
Entry loadModule();

} // namespace attest
