// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

namespace sim::spdm
{

namespace
{

/** GET_MEASUREMENTS, read. */
struct Asked
{
    uint8_t operation = 0;
    bool signature = false;
    /** Versions before 1.1 know slot 0 only. */
    uint8_t slot = 0;
    /** Of 1.3, else empty. */
    View context;
    /** Length of the request, trailing bytes apart. */
    size_t size = 0;
};

std::optional<Asked> read(View request, uint8_t spdmVersion)
{
    Reader reader(request);
    reader.skip(2);
    Asked asked;
    asked.signature = (reader.u8() & measurement::signatureRequested) != 0;
    asked.operation = reader.u8();
    if (asked.signature)
    {
        reader.skip(nonceSize);
        asked.slot = spdmVersion >= version::v11
                       ? static_cast<uint8_t>(reader.u8() & slotMask)
                       : uint8_t{0};
    }
    if (spdmVersion >= version::v13)
    {
        asked.context = reader.take(requesterContextSize);
    }
    asked.size = request.size() - reader.left();
    return reader.failed() ? std::nullopt : std::optional(asked);
}

bool signable(const Context& context, const Asked& asked)
{
    return context.config.measurements == MeasurementSupport::withSignature &&
           context.identity.slot(asked.slot) != nullptr &&
           slotPermits(context, asked.slot, keyUsage::measurement);
}

struct Record
{
    uint8_t blocks = 0;
    Bytes bytes;
};

/** Nothing if there is no such block. */
std::optional<Record> record(const Context& context, uint8_t operation)
{
    if (operation == measurement::countOperation)
    {
        return Record{};
    }
    if (operation == measurement::allOperation)
    {
        return Record{static_cast<uint8_t>(context.config.blocks.size()),
                      allBlocks(context, false)};
    }
    Bytes block = oneBlock(context, operation);
    return block.empty() ? std::nullopt
                         : std::optional(Record{1, std::move(block)});
}

uint8_t blockCount(const DeviceConfig& config)
{
    return config.claimedBlocks.value_or(
        static_cast<uint8_t>(config.blocks.size()));
}

/** MEASUREMENTS up to its signature. */
Writer unsignedResponse(const Context& context, const Asked& asked,
                        const Record& record)
{
    const Connection& connection = context.connection;
    bool counting = asked.operation == measurement::countOperation;
    Writer writer = message(connection.version, response::measurements,
                            counting ? blockCount(context.config) : uint8_t{0},
                            asked.signature ? asked.slot : uint8_t{0});
    writer.u8(record.blocks);
    writer.u24(static_cast<uint32_t>(record.bytes.size()));
    writer.bytes(record.bytes).bytes(randomBytes(nonceSize));
    const Bytes& opaque = context.config.measurementOpaque;
    View sent = connection.agreed.opaqueData ? View(opaque) : View();
    writer.u16(static_cast<uint16_t>(sent.size())).bytes(sent);
    writer.bytes(asked.context);
    return writer;
}

/** Changes the answer after it was signed. */
void spoil(const Context& context, const Asked& asked, Bytes& answer,
           size_t nonce, size_t signature)
{
    if (context.effects.wrongNonce)
    {
        answer[nonce] ^= 1;
    }
    if (context.effects.wrongContext && !asked.context.empty())
    {
        answer[signature - 1] ^= 1;
    }
    if (context.effects.wrongSignature && asked.signature)
    {
        answer.back() ^= 1;
    }
}

/** An error ends the run of measurements that a signature covers. */
Bytes refuse(Context& context, uint8_t code)
{
    context.connection.transcript.dropMeasurements();
    return errorResponse(context, code);
}

Bytes answer(Context& context, const Asked& asked, const Record& record,
             View request)
{
    constexpr size_t fixedSize = 8;
    Transcript& transcript = context.connection.transcript;
    Writer writer = unsignedResponse(context, asked, record);
    size_t signature = writer.view().size();
    if (!transcript.addMeasurement(request.first(asked.size), writer.view()))
    {
        return refuse(context, error::unspecified);
    }
    if (asked.signature)
    {
        writer.bytes(signTranscript(
            context, asked.slot, "responder-measurements signing",
            transcript.measurements(context.connection.version)));
        transcript.dropMeasurements();
    }
    Bytes built = writer.take();
    spoil(context, asked, built, fixedSize + record.bytes.size(), signature);
    return built;
}

} // namespace

Bytes getMeasurements(Context& context, View request)
{
    Connection& connection = context.connection;
    if (!connection.agreed.measurements)
    {
        return refuse(context, error::unexpectedRequest);
    }
    std::optional<Asked> asked = read(request, connection.version);
    if (!asked || (asked->signature && !signable(context, *asked)))
    {
        return refuse(context, error::invalidRequest);
    }
    std::optional<Record> wanted = record(context, asked->operation);
    if (!wanted)
    {
        return refuse(context, error::invalidRequest);
    }
    if (!connection.authenticated)
    {
        // The requester passed over CHALLENGE: what it read before no longer
        // counts for one that may follow.
        connection.transcript.dropCertificates();
    }
    return answer(context, *asked, *wanted, request);
}

} // namespace sim::spdm
