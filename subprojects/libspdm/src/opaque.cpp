// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Elements begin at multiples of this. */
constexpr size_t alignment = 4;

/** One element: registry id, vendor id with its length, data with its length,
 * zeros up to the alignment. */
bool skipElement(Reader& reader)
{
    size_t before = reader.left();
    uint8_t id = reader.u8();
    uint8_t vendorSize = reader.u8();
    reader.skip(vendorSize);
    uint16_t dataSize = reader.u16();
    reader.skip(dataSize);
    size_t used = before - reader.left();
    Bytes padding = reader.take((alignment - used % alignment) % alignment);
    return reader.ok() && id <= SPDM_REGISTRY_ID_MAX &&
           std::ranges::all_of(padding, [](uint8_t byte) { return byte == 0; });
}

} // namespace

bool isWellFormedOpaqueData(const Context& context, Bytes data)
{
    uint8_t format = context.connection.algorithms.otherParams &
                     SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_MASK;
    if (versionOf(context) < SPDM_MESSAGE_VERSION_12 ||
        format != SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_1)
    {
        return true;
    }
    Reader reader(data);
    uint8_t elements = reader.u8();
    reader.skip(3);
    if (data.size() % alignment != 0 || elements == 0)
    {
        return false;
    }
    for (; elements > 0; --elements)
    {
        if (!skipElement(reader))
        {
            return false;
        }
    }
    return reader.ok();
}

} // namespace spdm
