// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"
#include "requests.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Fields before the entries: header, reserved, count. */
constexpr size_t versionHead = 6;

uint8_t majorMinor(spdm_version_number_t version)
{
    return static_cast<uint8_t>(version >> SPDM_VERSION_NUMBER_SHIFT_BIT);
}

/** Highest version that this side knows and the peer has too; 0 for none. */
spdm_version_number_t highestCommon(Reader peer, size_t peerCount)
{
    uint8_t best = 0;
    for (; peerCount > 0; --peerCount)
    {
        uint8_t offered = majorMinor(peer.u16());
        if (offered >= SPDM_MESSAGE_VERSION_10 &&
            offered <= SPDM_MESSAGE_VERSION_13)
        {
            best = std::max(best, offered);
        }
    }
    return static_cast<spdm_version_number_t>(best
                                              << SPDM_VERSION_NUMBER_SHIFT_BIT);
}

/** Checks VERSION and yields the number of its entries. */
libspdm_return_t countEntries(Bytes response, size_t& count)
{
    if (response.size() < versionHead)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    count = response[versionHead - 1];
    if (count == 0 || count > LIBSPDM_MAX_VERSION_COUNT)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    return response.size() < versionHead + count * sizeof(uint16_t)
             ? LIBSPDM_STATUS_INVALID_MSG_SIZE
             : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t accept(Context& context, Bytes request, Bytes response)
{
    size_t count = 0;
    libspdm_return_t status = countEntries(response, count);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    response = response.first(versionHead + count * sizeof(uint16_t));
    spdm_version_number_t common =
        highestCommon(Reader(response.subspan(versionHead)), count);
    if (common == 0)
    {
        return LIBSPDM_STATUS_NEGOTIATION_FAIL;
    }
    if (!context.negotiation.add(request) || !context.negotiation.add(response))
    {
        return LIBSPDM_STATUS_BUFFER_FULL;
    }
    context.connection.version = common;
    context.connection.state = LIBSPDM_CONNECTION_STATE_AFTER_VERSION;
    return LIBSPDM_STATUS_SUCCESS;
}

} // namespace

libspdm_return_t getVersion(Context& context)
{
    context.negotiation.reset();
    context.challenge.reset();
    context.measurements.reset();
    libspdm_reset_context(&context);
    return converse(
        context, SPDM_VERSION, NotReady::refused,
        [](Exchange& exchange) {
            exchange.writer().header(SPDM_MESSAGE_VERSION_10, SPDM_GET_VERSION,
                                     0, 0);
        },
        [&](Bytes request, Bytes response)
        { return accept(context, request, response); });
}

} // namespace spdm
