// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

#include <algorithm>

namespace sim::spdm
{

namespace
{

constexpr size_t getCertificateSize = 8;
constexpr size_t certificateHeaderSize = 8;
/** GET_CERTIFICATE of 1.3: tell the size of the slot only. */
constexpr uint8_t slotSizeRequested = 0x01;

/** All later requests are about something else than measurements. */
void endMeasurements(Context& context)
{
    context.connection.transcript.dropMeasurements();
}

/** Key pair ids, then certificate infos, then key usages, as 1.3 has them. */
void writeKeys(const Context& context, Writer& writer)
{
    std::vector<const SlotConfig*> slots;
    for (uint8_t number = 0; number < slotCount; number++)
    {
        if (const SlotConfig* slot = context.identity.slot(number))
        {
            slots.push_back(slot);
        }
    }
    for (const SlotConfig* slot : slots)
    {
        writer.u8(slot->keyPairId);
    }
    for (const SlotConfig* slot : slots)
    {
        writer.u8(slot->certInfo);
    }
    for (const SlotConfig* slot : slots)
    {
        writer.u16(slot->keyUsage);
    }
}

void writeDigests(const Context& context, Writer& writer)
{
    const Agreement& agreed = context.connection.agreed;
    for (uint8_t number = 0; number < slotCount; number++)
    {
        if (context.identity.slot(number) != nullptr)
        {
            writer.bytes(
                digest(agreed.hashInUse(),
                       context.identity.chain(number, agreed.curveInUse(),
                                              agreed.hashInUse())));
        }
    }
}

/** Longest portion that fits into one message if it cannot be in chunks. */
size_t longestPortion(const Context& context)
{
    if (chunksAgreed(context))
    {
        return 0xffff;
    }
    size_t room = context.config.transmitSize;
    if (context.connection.version >= version::v12)
    {
        room = std::min<size_t>(room, context.connection.requesterTransferSize);
    }
    return room - certificateHeaderSize;
}

struct Portion
{
    uint8_t slot = 0;
    size_t offset = 0;
    size_t length = 0;
};

Portion readPortion(const Context& context, View request)
{
    Reader reader(request);
    reader.skip(2);
    Portion wanted;
    wanted.slot = reader.u8() & slotMask;
    uint8_t attributes = reader.u8();
    wanted.offset = reader.u16();
    wanted.length = std::min<size_t>(reader.u16(), longestPortion(context));
    if (context.connection.version >= version::v13 &&
        (attributes & slotSizeRequested) != 0)
    {
        wanted.offset = 0;
        wanted.length = 0;
    }
    return wanted;
}

Bytes certificateResponse(const Context& context, const Portion& portion,
                          View chain)
{
    const Connection& connection = context.connection;
    uint8_t info = connection.agreed.multiKey
                     ? context.identity.slot(portion.slot)->certInfo
                     : 0;
    size_t length = std::min(portion.length, chain.size() - portion.offset);
    size_t rest = chain.size() - portion.offset - length;
    Writer writer =
        message(connection.version, response::certificate, portion.slot, info);
    writer.u16(static_cast<uint16_t>(length));
    writer.u16(static_cast<uint16_t>(rest));
    writer.bytes(chain.subspan(portion.offset, length));
    return writer.take();
}

/** Hands the answer out if there is room for it in the transcript. */
Bytes recorded(Context& context, View request, Bytes answer)
{
    if (!context.connection.transcript.addCertificates(request, answer))
    {
        return errorResponse(context, error::unspecified);
    }
    return answer;
}

} // namespace

Bytes getDigests(Context& context, View request)
{
    Connection& connection = context.connection;
    endMeasurements(context);
    connection.transcript.dropCertificates();
    uint8_t provisioned = context.identity.slots();
    uint8_t supported =
        connection.version >= version::v13 ? provisioned : uint8_t{0};
    Writer writer =
        message(connection.version, response::digests, supported, provisioned);
    writeDigests(context, writer);
    if (connection.agreed.multiKey)
    {
        writeKeys(context, writer);
    }
    return recorded(context, request.first(headerSize), writer.take());
}

Bytes getCertificate(Context& context, View request)
{
    if (request.size() < getCertificateSize)
    {
        return errorResponse(context, error::invalidRequest);
    }
    Portion wanted = readPortion(context, request);
    if (context.identity.slot(wanted.slot) == nullptr)
    {
        return errorResponse(context, error::invalidRequest);
    }
    const Agreement& agreed = context.connection.agreed;
    Bytes chain = context.identity.chain(wanted.slot, agreed.curveInUse(),
                                         agreed.hashInUse());
    if (wanted.offset >= chain.size())
    {
        return errorResponse(context, error::invalidRequest);
    }
    endMeasurements(context);
    return recorded(context, request.first(getCertificateSize),
                    certificateResponse(context, wanted, chain));
}

} // namespace sim::spdm
