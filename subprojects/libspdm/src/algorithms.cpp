// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"
#include "requests.hpp"

namespace spdm
{

namespace
{

/** Fields of ALGORITHMS before its tables, without extended algorithms. */
constexpr size_t algorithmsHead = 36;
/** Fields of NEGOTIATE_ALGORITHMS before its tables. */
constexpr size_t negotiateHead = 32;
/** One table without extended algorithms: type, count, algorithms. */
constexpr size_t tableSize = 4;
/** AlgCount: two bytes of fixed algorithms, no extended ones. */
constexpr uint8_t fixedTwoBytes = 0x20;

struct Table
{
    uint8_t type;
    uint16_t algorithms;
};

std::array<Table, 4> offeredTables(const Algorithms& own)
{
    return {{
        {SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_DHE, own.dhe},
        {SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_AEAD, own.aead},
        {SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_REQ_BASE_ASYM_ALG,
         own.reqBaseAsym},
        {SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_KEY_SCHEDULE,
         own.keySchedule},
    }};
}

/** Whether the connection uses several keys, which the peer demands or leaves
 * to what was set. */
bool wantsMultiKey(const Context& context)
{
    if (versionOf(context) < SPDM_MESSAGE_VERSION_13)
    {
        return false;
    }
    bool offered = (context.local.algorithms.otherParams &
                    SPDM_ALGORITHMS_MULTI_KEY_CONN) != 0;
    return peerHas(context,
                   SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MULTI_KEY_CAP_ONLY) ||
           (peerHas(context,
                    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MULTI_KEY_CAP_NEG) &&
            offered);
}

uint8_t otherParams(const Context& context)
{
    uint8_t own = context.local.algorithms.otherParams;
    if (versionOf(context) < SPDM_MESSAGE_VERSION_12)
    {
        return 0;
    }
    if (versionOf(context) < SPDM_MESSAGE_VERSION_13)
    {
        return own & SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_MASK;
    }
    return context.connection.multiKey
             ? own | SPDM_ALGORITHMS_MULTI_KEY_CONN
             : own & ~unsigned{SPDM_ALGORITHMS_MULTI_KEY_CONN};
}

void write(Exchange& exchange, const Context& context)
{
    uint8_t version = versionOf(context);
    const Algorithms& own = context.local.algorithms;
    std::array<Table, 4> tables = offeredTables(own);
    uint8_t count = 0;
    for (const Table& table : tables)
    {
        bool offered =
            version >= SPDM_MESSAGE_VERSION_11 && table.algorithms != 0;
        count = static_cast<uint8_t>(count + (offered ? 1 : 0));
    }
    exchange.clear();
    Writer& writer = exchange.writer();
    writer.header(version, SPDM_NEGOTIATE_ALGORITHMS, count, 0);
    writer.u16(static_cast<uint16_t>(negotiateHead + count * tableSize));
    writer.u8(own.measurementSpec);
    writer.u8(otherParams(context));
    writer.u32(own.baseAsym);
    writer.u32(own.baseHash);
    writer.zeros(12);
    writer.u16(0); // no extended algorithms
    writer.u8(0);
    writer.u8(version >= SPDM_MESSAGE_VERSION_13 ? own.melSpec : uint8_t{0});
    for (const Table& table : tables)
    {
        if (count != 0 && table.algorithms != 0)
        {
            writer.u8(table.type);
            writer.u8(fixedTwoBytes);
            writer.u16(table.algorithms);
        }
    }
}

void select(Algorithms& selected, const Table& table)
{
    switch (table.type)
    {
        case SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_DHE:
            selected.dhe = table.algorithms;
            break;
        case SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_AEAD:
            selected.aead = table.algorithms;
            break;
        case SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_REQ_BASE_ASYM_ALG:
            selected.reqBaseAsym = table.algorithms;
            break;
        default:
            selected.keySchedule = table.algorithms;
            break;
    }
}

/** The tables come in ascending order of their types, each with at most one
 * algorithm. */
libspdm_return_t readTables(Reader& reader, size_t count, Algorithms& selected)
{
    uint8_t previous = 0;
    for (; count > 0; --count)
    {
        Table table{.type = reader.u8(), .algorithms = 0};
        uint8_t algCount = reader.u8();
        table.algorithms = reader.u16();
        if (!reader.ok())
        {
            return LIBSPDM_STATUS_INVALID_MSG_SIZE;
        }
        bool known =
            table.type >= SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_DHE &&
            table.type <=
                SPDM_NEGOTIATE_ALGORITHMS_STRUCT_TABLE_ALG_TYPE_KEY_SCHEDULE;
        if (!known || table.type <= previous || algCount != fixedTwoBytes ||
            !atMostOneBit(table.algorithms))
        {
            return LIBSPDM_STATUS_INVALID_MSG_FIELD;
        }
        previous = table.type;
        select(selected, table);
    }
    return LIBSPDM_STATUS_SUCCESS;
}

/** Reads ALGORITHMS; used becomes its length without what follows it. */
libspdm_return_t read(Bytes response, Algorithms& selected, size_t& used)
{
    if (response.size() < algorithmsHead)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    uint8_t version = versionOf(response);
    size_t tables = param1Of(response);
    Reader reader(response.subspan(headerSize));
    uint16_t length = reader.u16();
    selected.measurementSpec = reader.u8();
    selected.otherParams = reader.u8();
    selected.measurementHash = reader.u32();
    selected.baseAsym = reader.u32();
    selected.baseHash = reader.u32();
    reader.skip(11);
    selected.melSpec = reader.u8();
    uint16_t extended = reader.u16();
    reader.skip(sizeof(uint16_t));
    bool oneFormat = version < SPDM_MESSAGE_VERSION_12 ||
                     atMostOneBit(selected.otherParams &
                                  SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_MASK);
    if (!atMostOneBit(selected.measurementSpec) || !oneFormat ||
        !atMostOneBit(selected.measurementHash) ||
        !atMostOneBit(selected.baseAsym) || !atMostOneBit(selected.baseHash) ||
        extended != 0)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (reader.left() < tables * tableSize)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    libspdm_return_t status = LIBSPDM_STATUS_SUCCESS;
    if (version >= SPDM_MESSAGE_VERSION_11)
    {
        status = readTables(reader, tables, selected);
    }
    used = response.size() - reader.left();
    return status == LIBSPDM_STATUS_SUCCESS && used != length
             ? LIBSPDM_STATUS_INVALID_MSG_SIZE
             : status;
}

/** Fields that a version does not have yet read as zero. */
void dropUndefined(Algorithms& selected, uint8_t version)
{
    if (version < SPDM_MESSAGE_VERSION_12)
    {
        selected.otherParams = 0;
    }
    if (version < SPDM_MESSAGE_VERSION_13)
    {
        selected.otherParams &= SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_MASK;
        selected.melSpec = 0;
    }
}

Algorithms withoutSessions(Algorithms selected)
{
    selected.dhe = 0;
    selected.aead = 0;
    selected.reqBaseAsym = 0;
    selected.keySchedule = 0;
    return selected;
}

libspdm_return_t accept(Context& context, Bytes request, Bytes response)
{
    Algorithms selected;
    size_t used = 0;
    libspdm_return_t status = read(response, selected, used);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    if (!context.negotiation.add(request) ||
        !context.negotiation.add(response.first(used)))
    {
        return LIBSPDM_STATUS_BUFFER_FULL;
    }
    dropUndefined(selected, versionOf(context));
    // What only sessions use is kept once the rest is right.
    context.connection.algorithms = withoutSessions(selected);
    status = checkBaseSelection(context);
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        context.connection.algorithms = selected;
        status = checkSessionSelection(context);
    }
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        context.connection.state = LIBSPDM_CONNECTION_STATE_NEGOTIATED;
    }
    return status;
}

} // namespace

libspdm_return_t negotiateAlgorithms(Context& context)
{
    if (context.connection.state != LIBSPDM_CONNECTION_STATE_AFTER_CAPABILITIES)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    context.measurements.reset();
    return converse(
        context, SPDM_ALGORITHMS, NotReady::reported,
        [&](Exchange& exchange)
        {
            context.connection.multiKey = wantsMultiKey(context);
            write(exchange, context);
        },
        [&](Bytes request, Bytes response)
        { return accept(context, request, response); });
}

} // namespace spdm
