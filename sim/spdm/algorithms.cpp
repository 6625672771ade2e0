// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

namespace sim::spdm
{

namespace
{

/** One structure table: DHE, AEAD, requester's key or key schedule. */
constexpr uint8_t firstTableType = 2;
constexpr uint8_t lastTableType = 5;
/** Two bytes of algorithms, no extended ones. */
constexpr uint8_t twoFixedBytes = 0x20;

struct Offer
{
    uint8_t measurementSpec = 0;
    uint8_t otherParams = 0;
    uint32_t asymmetric = 0;
    uint32_t hash = 0;
    std::vector<uint8_t> tables;
    /** Length of the request, trailing bytes apart. */
    size_t size = 0;
};

struct Limits
{
    size_t size;
    size_t extended;
};

Limits limits(uint8_t spdmVersion)
{
    return spdmVersion == version::v10 ? Limits{64, 8} : Limits{128, 20};
}

/** The tables come in ascending order of their type. */
bool readTables(Reader& reader, unsigned count, Offer& offer, size_t& extended)
{
    uint8_t last = firstTableType - 1;
    for (unsigned i = 0; i < count; i++)
    {
        uint8_t type = reader.u8();
        uint8_t counts = reader.u8();
        size_t external = counts & 0x0fU;
        reader.skip(2 + 4 * external);
        if (reader.failed() || type <= last || type > lastTableType ||
            counts >> 4 != 2)
        {
            return false;
        }
        offer.tables.push_back(type);
        last = type;
        extended += external;
    }
    return true;
}

std::optional<Offer> readOffer(View request)
{
    Reader reader(request);
    Offer offer;
    reader.skip(2);
    uint8_t tables = reader.u8();
    reader.skip(1);
    uint16_t length = reader.u16();
    offer.measurementSpec = reader.u8();
    offer.otherParams = reader.u8();
    offer.asymmetric = reader.u32();
    offer.hash = reader.u32();
    reader.skip(12);
    size_t extended = reader.u8();
    extended += reader.u8();
    reader.skip(2 + 4 * extended);
    unsigned count = request[0] == version::v10 ? 0 : tables;
    if (reader.failed() || !readTables(reader, count, offer, extended))
    {
        return std::nullopt;
    }
    offer.size = request.size() - reader.left();
    Limits most = limits(request[0]);
    if (offer.size != length || length > most.size || extended > most.extended)
    {
        return std::nullopt;
    }
    return offer;
}

uint32_t bit(Curve curve)
{
    return curve == Curve::p256 ? algorithm::ecdsaP256 : algorithm::ecdsaP384;
}

uint32_t bit(Hash hash)
{
    switch (hash)
    {
        case Hash::sha256:
            return algorithm::sha256;
        case Hash::sha384:
            return algorithm::sha384;
        case Hash::sha512:
            return algorithm::sha512;
    }
    return 0;
}

uint32_t measurementBit(const std::optional<Hash>& hash)
{
    // The measurement hashes follow the raw bit stream in the same order.
    return hash ? bit(*hash) << 1 : algorithm::measurementRawOnly;
}

/** The first of the device's list that the requester has too. */
template <typename T>
std::optional<T> choose(const std::vector<T>& own, uint32_t offered)
{
    for (T each : own)
    {
        if ((bit(each) & offered) != 0)
        {
            return each;
        }
    }
    return std::nullopt;
}

/** Of the opaque data formats the general one is preferred. */
uint8_t opaqueFormat(const Offer& offer, uint8_t spdmVersion)
{
    if (spdmVersion < version::v12)
    {
        return 0;
    }
    if ((offer.otherParams & algorithm::opaqueFormat1) != 0)
    {
        return algorithm::opaqueFormat1;
    }
    return offer.otherParams & algorithm::opaqueFormat0;
}

/** Whether the device's keys allow what the requester asks for (1.3). */
bool multiKeyFits(MultiKey support, bool asked)
{
    return support == MultiKey::negotiable ||
           (support == MultiKey::only) == asked;
}

bool needsSignatures(const DeviceConfig& config)
{
    return config.certificates || config.challenge ||
           config.multiKey != MultiKey::none ||
           config.measurements == MeasurementSupport::withSignature;
}

Agreement agree(const Context& context, const Offer& offer)
{
    const DeviceConfig& config = context.config;
    uint8_t spdmVersion = context.connection.version;
    Agreement agreed;
    agreed.curve = choose(config.curves, offer.asymmetric);
    agreed.hash = choose(config.hashes, offer.hash);
    agreed.measurements =
        config.measurements != MeasurementSupport::none &&
        (offer.measurementSpec & algorithm::measurementSpecDmtf) != 0;
    agreed.opaqueData =
        spdmVersion < version::v12 || opaqueFormat(offer, spdmVersion) != 0;
    agreed.multiKey = spdmVersion >= version::v13 &&
                      (offer.otherParams & algorithm::multiKeyConnection) != 0;
    return agreed;
}

bool acceptable(const Context& context, const Agreement& agreed)
{
    if (needsSignatures(context.config) && (!agreed.curve || !agreed.hash))
    {
        return false;
    }
    return context.connection.version < version::v13 ||
           multiKeyFits(context.config.multiKey, agreed.multiKey);
}

Bytes algorithmsResponse(const Context& context, const Offer& offer,
                         const Agreement& agreed)
{
    constexpr size_t fixedSize = 36;
    constexpr size_t tableSize = 4;
    auto tables = static_cast<uint8_t>(offer.tables.size());
    uint8_t spdmVersion = context.connection.version;
    Writer writer = message(spdmVersion, response::algorithms, tables, 0);
    writer.u16(static_cast<uint16_t>(fixedSize + tables * tableSize));
    writer.u8(agreed.measurements ? algorithm::measurementSpecDmtf : 0);
    writer.u8(opaqueFormat(offer, spdmVersion));
    writer.u32(agreed.measurements
                   ? measurementBit(context.config.measurementHash)
                   : 0);
    writer.u32(agreed.curve ? bit(*agreed.curve) : 0);
    writer.u32(agreed.hash ? bit(*agreed.hash) : 0);
    // Reserved, no measurement extension log, no extended algorithms.
    writer.zeros(11 + 1 + 2 + 2);
    for (uint8_t type : offer.tables)
    {
        // All tables are about sessions, which the device does not have.
        writer.u8(type).u8(twoFixedBytes).u16(0);
    }
    return writer.take();
}

} // namespace

Bytes negotiateAlgorithms(Context& context, View request)
{
    std::optional<Offer> offer = readOffer(request);
    if (!offer)
    {
        return errorResponse(context, error::invalidRequest);
    }
    Agreement agreed = agree(context, *offer);
    if (!acceptable(context, agreed))
    {
        return errorResponse(context, error::invalidRequest);
    }
    Bytes answer = algorithmsResponse(context, *offer, agreed);
    context.connection.agreed = agreed;
    context.connection.stage = Stage::negotiated;
    context.connection.transcript.addNegotiation(request.first(offer->size),
                                                 answer);
    return answer;
}

} // namespace sim::spdm
