// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

#include <string>

namespace sim::spdm
{

/**
 * "dmtf-spdm-v1.2.*" four times, zeros, then the purpose so that it ends at
 * byte 100.
 */
static Bytes combinedPrefix(uint8_t spdmVersion, std::string_view purpose)
{
    constexpr size_t prefixSize = 100;
    std::string once = "dmtf-spdm-v1.";
    once += static_cast<char>('0' + (spdmVersion & 0x0f));
    once += ".*";
    Bytes prefix;
    for (int i = 0; i < 4; i++)
    {
        prefix.insert(prefix.end(), once.begin(), once.end());
    }
    prefix.resize(prefixSize - purpose.size());
    prefix.insert(prefix.end(), purpose.begin(), purpose.end());
    return prefix;
}

Bytes signTranscript(const Context& context, uint8_t slot,
                     std::string_view purpose, View transcript)
{
    const Connection& connection = context.connection;
    Hash hash = connection.agreed.hashInUse();
    Bytes hashed = digest(hash, transcript);
    if (connection.version >= version::v12)
    {
        Bytes message = combinedPrefix(connection.version, purpose);
        append(message, hashed);
        hashed = digest(hash, message);
    }
    Curve curve = connection.agreed.curveInUse();
    return signDigest(context.identity.key(slot, curve), curve, hashed);
}

} // namespace sim::spdm
