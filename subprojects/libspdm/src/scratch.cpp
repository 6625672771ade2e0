// SPDX-License-Identifier: Apache-2.0
#include "scratch.hpp"

namespace spdm
{

namespace
{

std::span<uint8_t> region(const Context& context, size_t offset, size_t size)
{
    if (context.scratch.size() < scratchSize(context))
    {
        return {};
    }
    return context.scratch.subspan(offset, size);
}

} // namespace

size_t messageCapacity(const Context& context)
{
    return size_t{context.local.capability.maxMessageSize} +
           context.device.headerSize + context.device.tailSize;
}

size_t scratchSize(const Context& context)
{
    return 2 * messageCapacity(context) +
           context.local.capability.maxMessageSize;
}

std::span<uint8_t> messageRegion(const Context& context)
{
    return region(context, 0, messageCapacity(context));
}

std::span<uint8_t> chunkRegion(const Context& context)
{
    return region(context, messageCapacity(context), messageCapacity(context));
}

std::span<uint8_t> largeRegion(const Context& context)
{
    return region(context, 2 * messageCapacity(context),
                  context.local.capability.maxMessageSize);
}

std::span<uint8_t> payloadOf(const Context& context, std::span<uint8_t> region)
{
    size_t overhead =
        size_t{context.device.headerSize} + context.device.tailSize;
    if (region.size() < overhead)
    {
        return {};
    }
    return region.subspan(context.device.headerSize, region.size() - overhead);
}

} // namespace spdm
