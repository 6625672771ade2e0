// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

namespace sim::spdm
{

namespace
{

size_t requestSize(uint8_t spdmVersion)
{
    size_t size = headerSize + nonceSize;
    return spdmVersion >= version::v13 ? size + requesterContextSize : size;
}

bool summaryPossible(const Context& context, uint8_t type)
{
    if (type == summary::none)
    {
        return true;
    }
    return context.connection.agreed.measurements &&
           (type == summary::trustedBase || type == summary::all);
}

/** Without a block that counts, the trusted base's hash is all zeros. */
Bytes summaryHash(const Context& context, uint8_t type)
{
    Hash hash = context.connection.agreed.hashInUse();
    Bytes blocks = allBlocks(context, type == summary::trustedBase);
    if (type == summary::trustedBase && blocks.empty())
    {
        return Bytes(digestSize(hash));
    }
    return digest(hash, blocks);
}

bool acceptable(const Context& context, uint8_t slot, uint8_t summaryType)
{
    return context.identity.slot(slot) != nullptr &&
           slotPermits(context, slot, keyUsage::challenge) &&
           summaryPossible(context, summaryType);
}

/** CHALLENGE_AUTH up to its signature. */
Writer unsignedResponse(const Context& context, View request)
{
    const Connection& connection = context.connection;
    const Agreement& agreed = connection.agreed;
    uint8_t slot = request[2];
    Writer writer = message(connection.version, response::challengeAuth, slot,
                            context.identity.slots());
    Bytes chain =
        context.identity.chain(slot, agreed.curveInUse(), agreed.hashInUse());
    writer.bytes(digest(agreed.hashInUse(), chain));
    writer.bytes(randomBytes(nonceSize));
    if (request[3] != summary::none)
    {
        writer.bytes(summaryHash(context, request[3]));
    }
    const Bytes& opaque = context.config.challengeOpaque;
    View sent = agreed.opaqueData ? View(opaque) : View();
    writer.u16(static_cast<uint16_t>(sent.size())).bytes(sent);
    if (connection.version >= version::v13)
    {
        writer.bytes(request.last(requesterContextSize));
    }
    return writer;
}

/** Changes the answer after it was signed. */
void spoil(const Context& context, Bytes& answer, size_t signature)
{
    if (context.effects.wrongNonce)
    {
        answer[headerSize +
               digestSize(context.connection.agreed.hashInUse())] ^= 1;
    }
    if (context.effects.wrongContext &&
        context.connection.version >= version::v13)
    {
        answer[signature - 1] ^= 1;
    }
    if (context.effects.wrongSignature)
    {
        answer.back() ^= 1;
    }
}

} // namespace

bool slotPermits(const Context& context, uint8_t slot, uint16_t usage)
{
    return !context.connection.agreed.multiKey ||
           (context.identity.slot(slot)->keyUsage & usage) != 0;
}

Bytes challenge(Context& context, View request)
{
    Connection& connection = context.connection;
    size_t size = requestSize(connection.version);
    if (request.size() < size || !acceptable(context, request[2], request[3]))
    {
        return errorResponse(context, error::invalidRequest);
    }
    request = request.first(size);
    connection.transcript.dropMeasurements();
    Writer writer = unsignedResponse(context, request);
    Bytes exchange(request.begin(), request.end());
    append(exchange, writer.view());
    size_t signature = writer.view().size();
    writer.bytes(signTranscript(context, request[2],
                                "responder-challenge_auth signing",
                                connection.transcript.challenge(exchange)));
    connection.transcript.dropCertificates();
    connection.authenticated = true;
    Bytes answer = writer.take();
    spoil(context, answer, signature);
    return answer;
}

} // namespace sim::spdm
