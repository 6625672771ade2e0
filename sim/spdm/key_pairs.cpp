// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

namespace sim::spdm
{

/** Key usages of all slots that certify the key. */
static uint16_t usageOf(const Context& context, uint8_t slots)
{
    unsigned usage = 0;
    for (uint8_t number = 0; number < slotCount; number++)
    {
        if ((slots & (1U << number)) != 0)
        {
            usage |= context.identity.slot(number)->keyUsage;
        }
    }
    return static_cast<uint16_t>(usage);
}

Bytes getKeyPairInfo(Context& context, View request)
{
    // Bits of the algorithms in KEY_PAIR_INFO, other than in ALGORITHMS.
    constexpr uint32_t ecc256 = 0x08;
    constexpr uint32_t ecc384 = 0x10;
    Curve curve = context.connection.agreed.curveInUse();
    Key key = request.size() > headerSize
                ? context.identity.keyPair(request[headerSize], curve)
                : nullptr;
    if (!key)
    {
        return errorResponse(context, error::invalidRequest);
    }
    uint8_t id = request[headerSize];
    uint8_t slots = context.identity.slotsOfKey(id);
    uint16_t usage = usageOf(context, slots);
    uint32_t algorithm = curve == Curve::p256 ? ecc256 : ecc384;
    Bytes info = algorithmIdentifier(key);
    Writer writer =
        message(context.connection.version, response::keyPairInfo, 0, 0);
    writer.u8(context.identity.keyPairs()).u8(id);
    writer.u16(0).u16(usage).u16(usage).u32(algorithm).u32(algorithm);
    writer.u16(static_cast<uint16_t>(info.size())).u8(slots).bytes(info);
    return writer.take();
}

} // namespace sim::spdm
