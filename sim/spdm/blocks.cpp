// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/handlers.hpp"

namespace sim::spdm
{

static Bytes blockValue(const Context& context, const BlockConfig& block)
{
    const std::optional<Hash>& hash = context.config.measurementHash;
    return block.digestOfValue && hash ? digest(*hash, block.value)
                                       : block.value;
}

/** Index, specification and size, then the DMTF type, size and value. */
static Bytes record(const Context& context, const BlockConfig& block)
{
    constexpr size_t dmtfHeaderSize = 3;
    Bytes value = blockValue(context, block);
    auto size = static_cast<uint16_t>(value.size());
    Writer writer;
    writer.u8(block.index).u8(algorithm::measurementSpecDmtf);
    writer.u16(static_cast<uint16_t>(dmtfHeaderSize + size));
    writer.u8(block.type).u16(block.claimedSize.value_or(size)).bytes(value);
    return writer.take();
}

Bytes allBlocks(const Context& context, bool trustedBaseOnly)
{
    Bytes all;
    for (const BlockConfig& block : context.config.blocks)
    {
        if (!trustedBaseOnly || block.trustedBase)
        {
            append(all, record(context, block));
        }
    }
    return all;
}

Bytes oneBlock(const Context& context, uint8_t index)
{
    for (const BlockConfig& block : context.config.blocks)
    {
        if (block.index == index)
        {
            return record(context, block);
        }
    }
    return {};
}

} // namespace sim::spdm
