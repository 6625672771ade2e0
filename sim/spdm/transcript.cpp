// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"
#include "sim/spdm/connection.hpp"

namespace sim::spdm
{

/**
 * More than any honest conversation needs (eight slots of 64 kB in blocks);
 * a requester that asks for ever is stopped here.
 */
static constexpr size_t longestPart = size_t{2} << 20;

static bool addWithin(Bytes& part, View request, View response)
{
    if (part.size() + request.size() + response.size() > longestPart)
    {
        return false;
    }
    append(part, request);
    append(part, response);
    return true;
}

void Transcript::addNegotiation(View request, View response)
{
    append(a, request);
    append(a, response);
}

bool Transcript::addCertificates(View request, View response)
{
    return addWithin(b, request, response);
}

bool Transcript::addMeasurement(View request, View response)
{
    return addWithin(m, request, response);
}

Bytes Transcript::challenge(View c) const
{
    Bytes all = a;
    append(all, b);
    append(all, c);
    return all;
}

Bytes Transcript::measurements(uint8_t spdmVersion) const
{
    Bytes all;
    if (spdmVersion >= version::v12)
    {
        append(all, a);
    }
    append(all, m);
    return all;
}

} // namespace sim::spdm
