// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/device.hpp"

#include <initializer_list>
#include <string>

/** The simulator's devices as tests of both sides use them. */
namespace test
{

using sim::spdm::Bytes;
using sim::spdm::Device;

/** Bytes written as in a trace; throws for a typing error. */
Bytes hex(const std::string& text);

Bytes join(std::initializer_list<Bytes> parts);

/** Hash by the name that OpenSSL has for it. */
Bytes hashOf(const char* name, const Bytes& data);

Bytes readFile(const std::filesystem::path& path);

/** The key store that all tests share; its folder goes with the process. */
sim::spdm::KeyStore& keyStore();

/** The root of all devices with P-384. */
Bytes trustedRoot();

/** A device of this JSON configuration. It is kept, since it takes longer to
 *  make than to ask; GET_VERSION begins it anew. */
Device& deviceOf(const sim::Json& config);

/** What a requester may meet. */
struct Settings
{
    uint8_t version{0x12};
    /** Its chain is asked for by one slot or more. */
    uint8_t slots{1};
    bool multiKey{false};
    bool isSigning{true};
    /** Longest message either way, for messages in chunks; 0 for none. */
    uint32_t chunk{0};
    uint8_t blocks{3};
    uint16_t valueSize{48};
};

/** A good device of these settings. Each byte of a block is its number. */
Device& deviceOf(const Settings& settings);

} // namespace test
