// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

namespace sim::spdm
{

namespace
{

/** GET_CAPABILITIES without its header. */
struct RequesterCapabilities
{
    uint8_t ctExponent = 0;
    uint32_t flags = 0;
    uint32_t transferSize = 0;
    uint32_t maxSize = 0;
};

/** Its length grew with the versions. */
size_t capabilitiesSize(uint8_t spdmVersion)
{
    if (spdmVersion >= version::v12)
    {
        return 20;
    }
    return spdmVersion == version::v11 ? 12 : headerSize;
}

RequesterCapabilities readCapabilities(View request)
{
    Reader reader(request);
    reader.skip(headerSize + 1);
    RequesterCapabilities read;
    read.ctExponent = reader.u8();
    reader.skip(2);
    read.flags = reader.u32();
    read.transferSize = reader.u32();
    read.maxSize = reader.u32();
    return read;
}

/** Session features need a way to make a session, and the reverse. */
bool sessionFlagsFit(uint32_t flags)
{
    using namespace capability;
    bool sessions = (flags & (keyExchange | preSharedKey)) != 0;
    if (sessions)
    {
        return (flags & (encrypt | mac)) != 0;
    }
    constexpr uint32_t needSession =
        encrypt | mac | heartbeat | keyUpdate | handshakeInTheClear;
    return (flags & needSession) == 0;
}

bool flagsFit(uint32_t flags)
{
    using namespace capability;
    bool bothIdentities = (flags & cert) != 0 && (flags & publicKeyId) != 0;
    return (flags & preSharedKeyReserved) == 0 && !bothIdentities &&
           sessionFlagsFit(flags);
}

bool sizesFit(const RequesterCapabilities& read)
{
    if (read.transferSize < minDataTransferSize ||
        read.transferSize > read.maxSize)
    {
        return false;
    }
    return (read.flags & capability::chunk) != 0 ||
           read.transferSize == read.maxSize;
}

bool acceptable(const RequesterCapabilities& read, uint8_t spdmVersion)
{
    if (spdmVersion >= version::v12 && !sizesFit(read))
    {
        return false;
    }
    return spdmVersion == version::v10 ||
           (read.ctExponent <= 31 && flagsFit(read.flags));
}

uint32_t measurementFlag(MeasurementSupport support)
{
    switch (support)
    {
        case MeasurementSupport::none:
            return 0;
        case MeasurementSupport::withoutSignature:
            return capability::measurementsUnsigned;
        case MeasurementSupport::withSignature:
            return capability::measurementsSigned;
    }
    return 0;
}

uint32_t multiKeyFlags(MultiKey support)
{
    switch (support)
    {
        case MultiKey::none:
            return 0;
        case MultiKey::only:
            return capability::multiKeyOnly | capability::getKeyPairInfo;
        case MultiKey::negotiable:
            return capability::multiKeyNegotiable | capability::getKeyPairInfo;
    }
    return 0;
}

bool hasAliasChain(const DeviceConfig& config)
{
    for (const SlotConfig& slot : config.slots)
    {
        if (slot.certInfo == certModel::alias)
        {
            return true;
        }
    }
    return false;
}

/** A flag is not told to a requester of a version that does not know it. */
uint32_t ownFlags(const DeviceConfig& config, uint8_t spdmVersion)
{
    uint32_t flags = measurementFlag(config.measurements);
    flags |= config.certificates ? capability::cert : 0;
    flags |= config.challenge ? capability::challenge : 0;
    if (spdmVersion >= version::v12)
    {
        flags |= config.chunking ? capability::chunk : 0;
        flags |= config.certificates && hasAliasChain(config)
                   ? capability::aliasCert
                   : 0;
    }
    if (spdmVersion >= version::v13)
    {
        flags |= multiKeyFlags(config.multiKey);
    }
    return flags;
}

Bytes capabilitiesResponse(const DeviceConfig& config, uint8_t spdmVersion)
{
    Writer writer = message(spdmVersion, response::capabilities, 0, 0);
    writer.u8(0).u8(config.ctExponent).u16(0);
    writer.u32(ownFlags(config, spdmVersion));
    if (spdmVersion >= version::v12)
    {
        writer.u32(config.dataTransferSize).u32(config.maxMessageSize);
    }
    return writer.take();
}

} // namespace

Bytes getVersion(Context& context, View request)
{
    context.connection = Connection{};
    Writer writer = message(version::v10, response::version, 0, 0);
    writer.u8(0).u8(static_cast<uint8_t>(context.config.versions.size()));
    for (uint8_t each : context.config.versions)
    {
        // Major and minor in the high byte, update and alpha in the low one.
        writer.u8(0).u8(each);
    }
    context.connection.stage = Stage::version;
    context.connection.transcript.addNegotiation(request.first(headerSize),
                                                 writer.view());
    return writer.take();
}

Bytes getCapabilities(Context& context, View request)
{
    uint8_t spdmVersion = request[0];
    size_t size = capabilitiesSize(spdmVersion);
    if (request.size() < size)
    {
        return errorResponse(context, error::invalidRequest);
    }
    request = request.first(size);
    RequesterCapabilities read = readCapabilities(request);
    if (!acceptable(read, spdmVersion))
    {
        return errorResponse(context, error::invalidRequest);
    }
    Connection& connection = context.connection;
    connection.stage = Stage::capabilities;
    connection.version = spdmVersion;
    connection.requesterFlags = read.flags;
    connection.requesterTransferSize = read.transferSize;
    connection.requesterMaxSize = read.maxSize;
    Bytes answer = capabilitiesResponse(context.config, spdmVersion);
    connection.transcript.addNegotiation(request, answer);
    return answer;
}

bool chunksAgreed(const Context& context)
{
    return context.connection.version >= version::v12 &&
           context.config.chunking &&
           (context.connection.requesterFlags & capability::chunk) != 0;
}

} // namespace sim::spdm
